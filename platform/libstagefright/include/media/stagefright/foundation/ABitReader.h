// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stddef.h>
#include <stdint.h>

namespace android {

// Reads bits from a block of bytes, the most significant bit of each byte first. The bytes stay the caller's
// and must outlive the reader.
//
// Asking for more bits than are left ends the process with a fatal log line: whoever reads untrusted data
// asks numBitsLeft() first.
class ABitReader {
  public:
    // data may be null only when size (in bytes) is 0.
    ABitReader(const uint8_t* data, size_t size) : mData(data), mSizeBits(size * 8), mPosition(0) {}

    // The next n bits as an unsigned number, first bit highest. n is 0 (result 0) to 32; a larger n ends the
    // process too.
    uint32_t getBits(size_t n);
    void skipBits(size_t n);

    size_t numBitsLeft() const { return mSizeBits - mPosition; }

    // The byte that holds the next bit; one past the last byte at the end.
    const uint8_t* data() const { return mData + mPosition / 8; }

  private:
    const uint8_t* mData;
    size_t mSizeBits;
    size_t mPosition;  // in bits
};

}  // namespace android
