// SPDX-License-Identifier: Apache-2.0
#include <media/stagefright/foundation/ABitReader.h>

#include <algorithm>

#define LOG_TAG "ABitReader"
#include <media/stagefright/foundation/ADebug.h>

namespace android {

uint32_t ABitReader::getBits(size_t n) {
    CHECK_LE(n, size_t{32});
    CHECK_LE(n, numBitsLeft());
    uint64_t value = 0;
    for (size_t left = n; left > 0;) {
        const size_t available = 8 - mPosition % 8;
        const size_t taken = std::min(available, left);
        const uint32_t bits = (uint32_t{*data()} >> (available - taken)) & ((1u << taken) - 1);
        value = value << taken | bits;
        mPosition += taken;
        left -= taken;
    }
    return static_cast<uint32_t>(value);
}

void ABitReader::skipBits(size_t n) {
    CHECK_LE(n, numBitsLeft());
    mPosition += n;
}

}  // namespace android
