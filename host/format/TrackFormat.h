// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <media/stagefright/MetaData.h>

#include <optional>
#include <string>
#include <vector>

#include "support/ByteSpan.h"

namespace orvel {

enum class TrackKind { kVideo, kAudio };

enum class Codec { kUnknown, kAvc, kHevc, kSorensonH263, kVp6, kVp6Alpha, kAac, kMp3, kPcm, kAdpcm };

// What the program knows about a codec besides its bytes.
struct CodecTraits {
    Codec codec;
    const char* mime;       // kKeyMIMEType
    uint32_t fourCc;        // of the bitmap header, where the MIME type is not enough; else 0
    const char* shortName;  // as ffprobe's codec_name has it
    const char* title;      // for people
    const char* extension;  // of its elementary stream's file, with the dot; null when none is written
};

const CodecTraits& TraitsOf(Codec codec);

// A track's format, out of the MetaData that the plug-in gives. Absent numbers are 0.
struct TrackFormat {
    TrackKind kind = TrackKind::kVideo;
    Codec codec = Codec::kUnknown;
    std::string mime;
    int32_t width = 0;
    int32_t height = 0;
    uint8_t vp6Adjustment =
            0;  // what a decoder trims, already taken off: columns in the upper 4 bits, rows in the lower
    int32_t sampleRate = 0;  // Hz, as the container says; AAC's own may differ
    int32_t channelCount = 0;
    int64_t durationUs = 0;  // of the container; 0 when unknown
    std::optional<int64_t> thumbnailTimeUs;
    std::string configurationName;       // "avcC", "hvcC", "AudioSpecificConfig", "bitmap header"; or empty
    std::vector<uint8_t> configuration;  // the record of that name

    const char* kindName() const { return kind == TrackKind::kVideo ? "video" : "audio"; }
};

TrackFormat ReadTrackFormat(const android::MetaData& format);

}  // namespace orvel
