// SPDX-License-Identifier: Apache-2.0
#include "format/AudioConfiguration.h"

#include <algorithm>
#include <iterator>

#include "format/BitReader.h"

namespace orvel {
namespace {

constexpr uint32_t kSampleRates[] = {96000, 88200, 64000, 48000, 44100, 32000, 24000,
                                     22050, 16000, 12000, 11025, 8000,  7350};
constexpr uint32_t kExplicitRate = 15;
constexpr uint32_t kEscapedObjectType = 31;
constexpr uint32_t kSbrSyncExtension = 0x2b7;
constexpr uint32_t kPsSyncExtension = 0x548;

constexpr uint8_t kEsDescriptorTag = 0x03;
constexpr uint8_t kDecoderConfigTag = 0x04;
constexpr uint8_t kDecoderSpecificInfoTag = 0x05;
constexpr size_t kDecoderConfigFixedSize = 13;

uint32_t ReadObjectType(BitReader* reader) {
    uint32_t type = reader->bits(5);
    return type == kEscapedObjectType ? 32 + reader->bits(6) : type;
}

// A rate written out that the table holds too gets the table's index, which is all that ADTS can carry.
uint32_t ReadSampleRate(BitReader* reader, uint32_t* index) {
    *index = reader->bits(4);
    if (*index < std::size(kSampleRates)) return kSampleRates[*index];
    if (*index != kExplicitRate) return 0;
    uint32_t rate = reader->bits(24);
    const uint32_t* known = std::find(std::begin(kSampleRates), std::end(kSampleRates), rate);
    if (known != std::end(kSampleRates)) *index = static_cast<uint32_t>(known - kSampleRates);
    return rate;
}

// Explicit signalling behind the core's configuration, which older decoders do not see.
void ReadSyncExtension(BitReader* reader, AudioSpecificConfig* config) {
    if (reader->bitsLeft() < 16 || reader->bits(11) != kSbrSyncExtension) return;
    if (ReadObjectType(reader) != kSbr || reader->bits(1) == 0) return;
    uint32_t index;
    uint32_t rate = ReadSampleRate(reader, &index);
    if (!reader->ok()) return;
    config->hasSbr = true;
    config->outputRate = rate;
    if (reader->bitsLeft() >= 12 && reader->bits(11) == kPsSyncExtension)
        config->hasPs = reader->bits(1) != 0;
}

void ReadGeneralAudio(BitReader* reader, AudioSpecificConfig* config) {
    config->isShortFrame = reader->bits(1) != 0;
    if (reader->bits(1) != 0) reader->bits(14);
    bool hasExtension = reader->bits(1) != 0;
    // A program configuration element or an extension lies in between otherwise.
    bool isPlain = config->channelConfiguration != 0 && !hasExtension;
    if (reader->ok() && isPlain && !config->hasSbr) ReadSyncExtension(reader, config);
}

// The body of the descriptor with this tag at the front; sizes are in groups of seven bits.
ByteSpan EnterDescriptor(ByteSpan bytes, uint8_t tag) {
    if (bytes.size < 2 || bytes[0] != tag) return ByteSpan();
    size_t size = 0;
    for (size_t i = 1; i < bytes.size && i <= 4; ++i) {
        size = size << 7 | (bytes[i] & 0x7fu);
        if ((bytes[i] & 0x80) != 0) continue;
        ByteSpan body = bytes.from(i + 1);
        return size <= body.size ? body.first(size) : ByteSpan();
    }
    return ByteSpan();
}

}  // namespace

std::string AudioSpecificConfig::profile() const {
    if (hasPs) return "HE-AACv2";
    if (hasSbr) return "HE-AAC";
    switch (objectType) {
        case kAacMain:
            return "Main";
        case kAacLc:
            return "LC";
        case kAacSsr:
            return "SSR";
        case kAacLtp:
            return "LTP";
        default:
            return "object type " + std::to_string(objectType);
    }
}

std::optional<AudioSpecificConfig> ParseAudioSpecificConfig(ByteSpan bytes) {
    BitReader reader(bytes);
    AudioSpecificConfig config;
    config.objectType = ReadObjectType(&reader);
    config.sampleRate = ReadSampleRate(&reader, &config.frequencyIndex);
    config.outputRate = config.sampleRate;
    config.channelConfiguration = reader.bits(4);
    if (config.objectType == kSbr || config.objectType == kPs) {
        config.hasSbr = true;
        config.hasPs = config.objectType == kPs;
        uint32_t index;
        config.outputRate = ReadSampleRate(&reader, &index);
        config.objectType = ReadObjectType(&reader);
    }
    if (!reader.ok() || config.sampleRate == 0) return std::nullopt;
    if (config.objectType >= kAacMain && config.objectType <= kAacLtp) ReadGeneralAudio(&reader, &config);
    return config;
}

ByteSpan FindDecoderSpecificInfo(ByteSpan esDescriptor) {
    constexpr uint8_t kStreamDependence = 0x80, kUrl = 0x40, kOcrStream = 0x20;
    ByteSpan es = EnterDescriptor(esDescriptor, kEsDescriptorTag);
    if (es.size < 3) return ByteSpan();
    uint8_t flags = es[2];
    es = es.from(3);
    if ((flags & kStreamDependence) != 0) es = es.from(2);
    if ((flags & kUrl) != 0) es = es.from(es.size > 0 ? size_t{1} + es[0] : 0);
    if ((flags & kOcrStream) != 0) es = es.from(2);
    ByteSpan config = EnterDescriptor(es, kDecoderConfigTag);
    return EnterDescriptor(config.from(kDecoderConfigFixedSize), kDecoderSpecificInfoTag);
}

}  // namespace orvel
