// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>

#include "Export.h"

namespace android {

// Unsigned integers out of a media buffer. The pointer may have any alignment; exactly the bytes of the
// result's width are read. The first three take the most significant byte first (big-endian), the LE ones the
// least.
ORVEL_API uint16_t U16_AT(const uint8_t* ptr);
ORVEL_API uint32_t U32_AT(const uint8_t* ptr);
ORVEL_API uint64_t U64_AT(const uint8_t* ptr);
ORVEL_API uint16_t U16LE_AT(const uint8_t* ptr);
ORVEL_API uint32_t U32LE_AT(const uint8_t* ptr);
ORVEL_API uint64_t U64LE_AT(const uint8_t* ptr);

// The same eight bytes in reverse order, always: every machine that this library runs on is little-endian.
ORVEL_API uint64_t ntoh64(uint64_t x);
ORVEL_API uint64_t hton64(uint64_t x);

}  // namespace android
