// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "support/ByteSpan.h"

namespace orvel {

// Bit fields, most significant bit first. Running out of bits is no error of its own: the field reads as 0
// and ok() turns false for good, so that a record is read in one go and checked once.
class BitReader {
  public:
    explicit BitReader(ByteSpan bytes) : mBytes(bytes) {}

    bool ok() const { return mOk; }
    size_t bitsLeft() const { return mBytes.size * 8 - mPosition; }

    // The next count bits, 0 to 32 of them.
    uint32_t bits(size_t count) {
        if (count > bitsLeft()) mOk = false;
        if (!mOk) return 0;
        uint32_t value = 0;
        for (size_t i = 0; i < count; ++i, ++mPosition) {
            uint32_t byte = mBytes[mPosition / 8];
            value = value << 1 | (byte >> (7 - mPosition % 8) & 1);
        }
        return value;
    }

  private:
    ByteSpan mBytes;
    size_t mPosition = 0;
    bool mOk = true;
};

}  // namespace orvel
