// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vector>

#include "support/ByteSpan.h"

namespace orvel {

// ADPCM as FLV and SWF carry it (SWF File Format Specification, "ADPCM compression"): a packet begins with
// the width of its codes (2 to 5 bits) and holds blocks of up to 4096 samples a channel, each with starting
// values of its own. A packet depends on no other.

// Samples a channel that the packet holds; 0 for one too short to hold any. channels: 1 or 2.
size_t CountAdpcmSamples(ByteSpan packet, size_t channels);

// Appends the packet's samples to *out, 16-bit, channels interleaved.
void DecodeAdpcm(ByteSpan packet, size_t channels, std::vector<int16_t>* out);

}  // namespace orvel
