// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Pointers.h"
#include "av/AvModule.h"

namespace orvel {

// The library's name for a stream's codec. VP6 with alpha counts as VP6: its samples hold the colour picture
// first, and a VP6 decoder stops at its end.
AVCodecID CodecIdOf(const StreamSetup& setup);

void FillParameters(const StreamSetup& setup, AVCodecParameters* parameters);

// A decoder for the stream, on one thread, so that each sample's picture comes out at once.
CodecPointer OpenDecoder(const StreamSetup& setup);

// Gives the packet a copy of the bytes, with the padding that decoders read into.
void FillPacket(ByteSpan bytes, AVPacket* packet);

}  // namespace orvel
