// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "flv/TagChain.h"
#include "format/TrackFormat.h"

namespace orvel {

// What the first bytes of an audio or video tag's data say: the classic header of one byte, or one of
// Enhanced RTMP (Veovera, 2023), which names the codec by a FourCC.
struct StreamHeader {
    TrackKind kind = TrackKind::kVideo;
    bool isEnhanced = false;
    uint32_t codec = 0;  // CodecID, SoundFormat or FourCC
    uint8_t frameType = 0;
    uint8_t packetType = 0;        // of codecs that have one
    bool isConfiguration = false;  // of the codec: no sample
    bool isCommand = false;        // carries no picture
    bool isMultitrack = false;     // several streams in one tag, of Enhanced RTMP
    bool isOther = false;          // no sample either, such as the end of a sequence
    uint32_t size = 0;             // of the header; the payload is the rest of the tag's data
    uint32_t compositionMs = 0;    // from the tag's time to the presentation time; 0 where it is negative
    bool hasPayload = false;

    bool isKeyFrame() const { return kind == TrackKind::kVideo && frameType == 1; }
    bool isSample() const { return !isConfiguration && !isCommand && !isOther && hasPayload; }
    bool isSameCodec(const StreamHeader& header) const {
        return kind == header.kind && isEnhanced == header.isEnhanced && codec == header.codec;
    }
};
StreamHeader ReadStreamHeader(const TagUnit& unit);

// Whether FLV has such a codec; always for those named by a FourCC.
bool IsKnownCodec(const StreamHeader& header);

// The codec's standard name, also of codecs that the plug-in has no track for.
std::string CodecName(const StreamHeader& header);

// The name that ffprobe has for it; "unknown" where there is none.
const char* ShortCodecName(const StreamHeader& header);

// Why the plug-in offers no track for such a stream, as a clause; empty when the codec is one that it knows.
std::string WhyNoTrack(const StreamHeader& header);

}  // namespace orvel
