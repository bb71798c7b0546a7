// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <initializer_list>
#include <utility>

#include "support/MemorySource.h"

namespace orvel {

// Bit fields as {count, value}, most significant bit first; the last byte is filled up with zero bits.
inline Bytes Bits(std::initializer_list<std::pair<int, uint32_t>> fields) {
    Bytes bytes;
    int bits = 0;
    for (auto [count, value] : fields) {
        while (count-- > 0) {
            if (bits % 8 == 0) bytes.push_back(0);
            bytes.back() = static_cast<uint8_t>(bytes.back() | (value >> count & 1) << (7 - bits++ % 8));
        }
    }
    return bytes;
}

}  // namespace orvel
