// SPDX-License-Identifier: Apache-2.0
#include "command/StreamFormat.h"

#include <iterator>

#include "format/AudioConfiguration.h"
#include "format/BitReader.h"
#include "source/BytesSource.h"

namespace orvel {
namespace {

using Bytes = std::vector<uint8_t>;

constexpr uint32_t kAdtsSync = 0xfff;
// id_syn_ele of single_channel_element and channel_pair_element.
constexpr uint32_t kSingleChannel = 0, kChannelPair = 1;

// The sample rates that SoundRate stands for, as samplingFrequencyIndex (ISO/IEC 14496-3, table 1.18): 5.5
// kHz is in none, and AAC has no rate below 7350.
constexpr uint32_t kFrequencyIndexes[] = {12, 10, 7, 4};

void AppendTag(TagType type, ByteSpan data, Bytes* file) {
    auto size = static_cast<uint32_t>(data.size);
    auto append = [file](uint32_t value, int bytes) {
        for (int shift = 8 * (bytes - 1); shift >= 0; shift -= 8)
            file->push_back(static_cast<uint8_t>(value >> shift));
    };
    append(static_cast<uint32_t>(type), 1);
    append(size, 3);
    append(0, 4);
    append(0, 3);
    file->insert(file->end(), data.data, data.data + data.size);
    append(size + 11, 4);
}

Bytes DataOf(TagChain& chain, int64_t slot) {
    std::optional<TagUnit> unit = chain.read(slot);
    return unit ? chain.bytes(unit->dataOffset(), unit->dataSize) : Bytes();
}

Bytes PackConfiguration(uint32_t objectType, uint32_t frequencyIndex, uint32_t channels) {
    uint32_t bits = objectType << 11 | frequencyIndex << 7 | channels << 3;
    return {static_cast<uint8_t>(bits >> 8), static_cast<uint8_t>(bits)};
}

}  // namespace

bool HoldsAudioConfiguration(TagChain& chain, const TagUnit& unit) {
    StreamHeader header = ReadStreamHeader(unit);
    if (!header.isConfiguration || !header.hasPayload) return false;
    const Bytes data = chain.bytes(unit.dataOffset() + header.size, unit.dataSize - header.size);
    return ParseAudioSpecificConfig(data).has_value();
}

std::vector<uint8_t> MakeAudioConfiguration(TagChain& chain, const TagUnit& firstSample,
                                            std::string* source) {
    constexpr size_t kLooksAt = 7;  // an ADTS header
    const Bytes data = chain.bytes(firstSample.dataOffset() + ReadStreamHeader(firstSample).size, kLooksAt);
    BitReader adts{ByteSpan(data)};
    if (adts.bits(12) == kAdtsSync) {
        adts.bits(4);  // version, layer, protection
        uint32_t profile = adts.bits(2), frequencyIndex = adts.bits(4);
        adts.bits(1);
        uint32_t channels = adts.bits(3);
        *source = "the ADTS header of its first sample";
        if (adts.ok()) return PackConfiguration(profile + 1, frequencyIndex, channels);
    }
    *source = "its first sample and tag header";
    uint32_t soundRate = firstSample.data[0] >> 2 & 3;
    BitReader block{ByteSpan(data)};
    uint32_t element = block.bits(3), channels = (firstSample.data[0] & 1) + 1u;
    if (element == kSingleChannel || element == kChannelPair) channels = element + 1;
    return PackConfiguration(kAacLc, kFrequencyIndexes[soundRate], channels);
}

std::optional<TrackFormat> FormatOfStream(const Plugin& plugin, TagChain& chain, const StreamSeen& stream) {
    const bool isVideo = stream.header.kind == TrackKind::kVideo;
    const TagType type = isVideo ? TagType::kVideo : TagType::kAudio;
    Bytes file = {'F', 'L', 'V', 1, static_cast<uint8_t>(isVideo ? 1 : 4), 0, 0, 0, 9, 0, 0, 0, 0};
    for (int64_t slot : stream.configurationSlots)
        AppendTag(type, DataOf(chain, slot), &file);
    if (stream.firstSampleSlot >= 0) AppendTag(type, DataOf(chain, stream.firstSampleSlot), &file);
    android::sp<android::DataSource> source = new BytesSource(std::move(file));
    android::sp<android::MediaExtractor> extractor = plugin.createExtractor(source);
    if (extractor->countTracks() == 0) return std::nullopt;
    return ReadTrackFormat(*extractor->getTrackMetaData(0));
}

}  // namespace orvel
