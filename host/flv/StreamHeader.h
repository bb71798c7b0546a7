// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "format/TrackFormat.h"
#include "flv/TagChain.h"

namespace orvel {

// What the first bytes of an audio or video tag's data say: the classic header of one byte, or one of
// Enhanced RTMP (Veovera, 2023), which names the codec by a FourCC.
struct StreamHeader {
    TrackKind kind = TrackKind::kVideo;
    bool isEnhanced = false;
    uint32_t codec = 0;  // CodecID, SoundFormat or FourCC
    uint8_t frameType = 0;
    bool isConfiguration = false;  // of the codec, or the end of its sequence: no sample
    bool isCommand = false;        // carries no picture

    bool isKeyFrame() const { return kind == TrackKind::kVideo && frameType == 1; }
    bool isSample() const { return !isConfiguration && !isCommand; }
};
StreamHeader ReadStreamHeader(const TagUnit& unit);

// The codec's standard name, also of codecs that the plug-in has no track for.
std::string CodecName(const StreamHeader& header);

// The name that ffprobe has for it; "unknown" where there is none.
const char* ShortCodecName(const StreamHeader& header);

// Why the plug-in offers no track for such a stream, as a clause; empty when the codec is one that it knows.
std::string WhyNoTrack(const StreamHeader& header);

}  // namespace orvel
