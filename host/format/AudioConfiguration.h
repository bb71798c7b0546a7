// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>

#include "support/ByteSpan.h"

namespace orvel {

// Audio object types of ISO/IEC 14496-3, table 1.17, as far as they matter here.
enum AudioObjectType : uint32_t {
    kAacMain = 1,
    kAacLc = 2,
    kAacSsr = 3,
    kAacLtp = 4,
    kSbr = 5,
    kPs = 29,
};

// AudioSpecificConfig (ISO/IEC 14496-3, 1.6.2.1), the parts that describe the stream.
struct AudioSpecificConfig {
    uint32_t objectType = 0;      // of the core stream
    uint32_t frequencyIndex = 0;  // of the core stream; 15 when its rate is in no table
    uint32_t sampleRate = 0;      // of the core stream, Hz
    uint32_t channelConfiguration = 0;
    bool isShortFrame = false;  // 960 samples a frame rather than 1024
    bool hasSbr = false;
    bool hasPs = false;
    uint32_t outputRate = 0;  // sampleRate, or what SBR makes of it

    // "LC", "HE-AAC", "HE-AACv2", "Main", ...: the names that ffprobe prints.
    std::string profile() const;
};

// Nothing when the configuration ends before its channelConfiguration or names a reserved rate.
std::optional<AudioSpecificConfig> ParseAudioSpecificConfig(ByteSpan config);

// The DecoderSpecificInfo inside an ES_Descriptor (ISO/IEC 14496-1, 7.2.6.5); empty when there is none or a
// length does not fit.
ByteSpan FindDecoderSpecificInfo(ByteSpan esDescriptor);

}  // namespace orvel
