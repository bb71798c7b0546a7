// SPDX-License-Identifier: Apache-2.0
#include "ByteOrder.h"

namespace android {

uint16_t U16_AT(const uint8_t* ptr) {
    return static_cast<uint16_t>(ptr[0] << 8 | ptr[1]);
}

uint32_t U32_AT(const uint8_t* ptr) {
    return static_cast<uint32_t>(U16_AT(ptr)) << 16 | U16_AT(ptr + 2);
}

uint64_t U64_AT(const uint8_t* ptr) {
    return static_cast<uint64_t>(U32_AT(ptr)) << 32 | U32_AT(ptr + 4);
}

uint16_t U16LE_AT(const uint8_t* ptr) {
    return static_cast<uint16_t>(ptr[1] << 8 | ptr[0]);
}

uint32_t U32LE_AT(const uint8_t* ptr) {
    return static_cast<uint32_t>(U16LE_AT(ptr + 2)) << 16 | U16LE_AT(ptr);
}

uint64_t U64LE_AT(const uint8_t* ptr) {
    return static_cast<uint64_t>(U32LE_AT(ptr + 4)) << 32 | U32LE_AT(ptr);
}

uint64_t ntoh64(uint64_t x) {
    return __builtin_bswap64(x);
}

uint64_t hton64(uint64_t x) {
    return ntoh64(x);
}

}  // namespace android
