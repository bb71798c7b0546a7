// SPDX-License-Identifier: Apache-2.0
#include "M4vExtraData.h"

namespace android {

namespace {

constexpr unsigned int kStartCodeSize = 4;

// start_code_value of ISO/IEC 14496-2, Table 6-3.
enum StartCodeValue : unsigned char { group_of_vop_start_code = 0xB3, vop_start_code = 0xB6 };

bool isPrefix(const unsigned char* data) {
    return data[0] == 0 && data[1] == 0 && data[2] == 1;
}

}  // namespace

unsigned int PreProcessM4vExtraData(unsigned char* data, unsigned int length) {
    if (data == nullptr || length <= kStartCodeSize) return 0;
    unsigned int offset = 0;
    while (offset < length - kStartCodeSize) {
        if (!isPrefix(data + offset)) {
            ++offset;
            continue;
        }
        const unsigned char value = data[offset + 3];
        if (value == group_of_vop_start_code || value == vop_start_code) break;
        offset += kStartCodeSize;
    }
    return offset;
}

}  // namespace android
