// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>
#include <vector>

#include "support/ByteSpan.h"

namespace orvel {

// A record put together field by field, least significant byte first.
class LittleEndian {
  public:
    LittleEndian& u16(uint16_t value) { return put(value, 2); }
    LittleEndian& u32(uint32_t value) { return put(value, 4); }
    LittleEndian& u64(uint64_t value) { return put(value, 8); }
    LittleEndian& text(std::string_view fourCc) {
        mBytes.insert(mBytes.end(), fourCc.begin(), fourCc.end());
        return *this;
    }
    const std::vector<uint8_t>& bytes() const { return mBytes; }

  private:
    LittleEndian& put(uint64_t value, size_t size) {
        for (size_t i = 0; i < size; ++i)
            mBytes.push_back(static_cast<uint8_t>(value >> (8 * i)));
        return *this;
    }

    std::vector<uint8_t> mBytes;
};

}  // namespace orvel
