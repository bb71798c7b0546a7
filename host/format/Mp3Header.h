// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>

#include "support/ByteSpan.h"

namespace orvel {

// The header of an MPEG audio frame (ISO/IEC 11172-3, 2.4.1.3; ISO/IEC 13818-3; and MPEG-2.5).
struct Mp3Header {
    int layer = 0;            // 1 to 3
    uint32_t sampleRate = 0;  // Hz
    uint32_t channels = 0;
};

// Nothing when the bytes do not begin with one.
std::optional<Mp3Header> ParseMp3Header(ByteSpan frame);

}  // namespace orvel
