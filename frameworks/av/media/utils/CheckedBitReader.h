// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <media/stagefright/foundation/ABitReader.h>
#include <stddef.h>
#include <stdint.h>

namespace android {

// Internal to the library: not included by Utils.h.
//
// Reads bits, most significant first, of data that nobody has checked. The platform's ABitReader aborts
// the process when it is asked for bits that it does not have; this reader asks only for bits that are there.
// A read past the end fails, gives 0 and consumes nothing, and from then on every read fails: a parser may
// read several fields and look at failed() once, before it uses any of them.
class CheckedBitReader {
  public:
    // The data is neither copied nor owned. data may be null when size is 0.
    CheckedBitReader(const uint8_t* data, size_t size) : mReader(data, size), mFailed(false) {}

    // The next n bits as an unsigned number; n is at most 32.
    uint32_t get(size_t n) { return take(n) ? mReader.getBits(n) : 0; }

    // Passes over n bits; n may be any number.
    void skip(size_t n) {
        if (take(n)) mReader.skipBits(n);
    }

    // An Exp-Golomb code ue(v), as ITU-T H.264 9.1 and H.265 9.2 define it. A code has at most 31 leading
    // zero bits, which is what values up to 2^32 - 2 need; more of them are a failure.
    uint32_t ue() {
        size_t leadingZeroBits = 0;
        while (!mFailed && get(1) == 0) {
            if (++leadingZeroBits > 31) mFailed = true;
        }
        const uint32_t suffix = get(leadingZeroBits);
        return mFailed ? 0 : (UINT32_C(1) << leadingZeroBits) - 1 + suffix;
    }

    bool failed() const { return mFailed; }

  private:
    bool take(size_t n) {
        if (n > mReader.numBitsLeft()) mFailed = true;
        return !mFailed && n > 0;
    }

    ABitReader mReader;
    bool mFailed;
};

}  // namespace android
