// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Utils.h"

namespace orvel {

// The 24-bit big-endian integers of FLV; the wider ones are in the media utilities.
inline uint32_t U24_AT(const uint8_t* bytes) {
    return static_cast<uint32_t>(bytes[0]) << 16 | android::U16_AT(bytes + 1);
}

}  // namespace orvel
