// SPDX-License-Identifier: Apache-2.0
#include "H264Payload.h"

#include <stdint.h>
#include <string.h>

#include "ByteOrder.h"

namespace android {

namespace {

constexpr int kPrefixSize = 4;
constexpr unsigned char kStartCode[kPrefixSize] = {0, 0, 0, 1};

}  // namespace

int CheckH264Type(const unsigned char* data, int length) {
    if (length < kPrefixSize) return -1;
    return memcmp(data, kStartCode, kPrefixSize) == 0 ? 0 : 1;
}

int H264DataPreprocess_AVC(unsigned char* data, int length) {
    int converted = 0;
    while (length - converted >= kPrefixSize) {
        unsigned char* prefix = data + converted;
        const uint32_t unitSize = U32_AT(prefix);
        // A length that is negative as a signed number is also larger than what remains.
        if (unitSize > static_cast<uint32_t>(length - converted - kPrefixSize)) break;
        memcpy(prefix, kStartCode, kPrefixSize);
        converted += kPrefixSize + static_cast<int>(unitSize);
    }
    return converted;
}

int H264DataPreprocess_IEC(unsigned char* /*data*/, int length) {
    return length;
}

}  // namespace android
