// SPDX-License-Identifier: Apache-2.0
#include "av/StreamForm.h"

#include "format/AudioConfiguration.h"
#include "format/ParameterSets.h"
#include "writer/AnnexBWriter.h"

namespace orvel {
namespace {

constexpr uint8_t kStartCode[] = {0, 0, 0, 1};

ParameterSets ParseSets(const TrackFormat& format) {
    auto sets = format.codec == Codec::kAvc ? ParseAvcConfiguration(format.configuration)
                                            : ParseHevcConfiguration(format.configuration);
    return sets.value_or(ParameterSets());
}

std::vector<uint8_t> JoinUnits(const ParameterSets& sets) {
    std::vector<uint8_t> joined;
    for (const std::vector<uint8_t>& unit : sets.units) {
        joined.insert(joined.end(), std::begin(kStartCode), std::end(kStartCode));
        joined.insert(joined.end(), unit.begin(), unit.end());
    }
    return joined;
}

constexpr uint8_t kAvcDelimiter = 9, kAvcSps = 7, kHevcDelimiter = 35, kHevcSps = 33;

// Offsets of the NAL units' headers.
std::vector<size_t> FindUnits(ByteSpan bytes) {
    std::vector<size_t> units;
    for (size_t i = 0; i + 3 < bytes.size; ++i) {
        if (bytes[i] == 0 && bytes[i + 1] == 0 && bytes[i + 2] == 1) units.push_back(i + 3);
    }
    return units;
}

}  // namespace

StreamForm::StreamForm(const TrackFormat& format, int pcmBits) {
    mSetup.codec = format.codec;
    mSetup.width = format.width;
    mSetup.height = format.height;
    mSetup.sampleRate = format.sampleRate;
    mSetup.channelCount = format.channelCount;
    mSetup.pcmBits = pcmBits;
    if (format.codec == Codec::kAvc || format.codec == Codec::kHevc) {
        ParameterSets sets = ParseSets(format);
        mNalLengthSize = sets.nalLengthSize;
        mSetup.configuration = JoinUnits(sets);
    } else if (format.vp6Adjustment != 0) {
        mSetup.configuration = {format.vp6Adjustment};
    } else if (format.codec == Codec::kAac) {
        auto config = ParseAudioSpecificConfig(format.configuration);
        if (config) mSetup.sampleRate = static_cast<int>(config->sampleRate);
        mSetup.configuration = format.configuration;
    }
}

ByteSpan StreamForm::convert(ByteSpan sample) {
    if (mNalLengthSize == 0) return sample;
    mConverted.clear();
    AppendAnnexB(sample, mNalLengthSize, &mConverted);
    return mConverted;
}

bool StreamForm::isDelimiter(uint8_t nalHeader) const {
    return mSetup.codec == Codec::kAvc ? (nalHeader & 31) == kAvcDelimiter
                                       : (nalHeader >> 1 & 63) == kHevcDelimiter;
}

bool StreamForm::isSequenceParameterSet(uint8_t nalHeader) const {
    return mSetup.codec == Codec::kAvc ? (nalHeader & 31) == kAvcSps : (nalHeader >> 1 & 63) == kHevcSps;
}

ByteSpan StreamForm::withParameterSets(ByteSpan converted) {
    if (mNalLengthSize == 0 || mSetup.configuration.empty()) return converted;
    const std::vector<size_t> units = FindUnits(converted);
    if (units.size() < 2 || !isDelimiter(converted[units[0]])) return converted;
    for (size_t unit : units) {
        if (isSequenceParameterSet(converted[unit])) return converted;
    }
    size_t second = units[1] - 3;
    if (converted[second - 1] == 0) --second;  // of a start code of four bytes
    mWithSets.assign(converted.data, converted.data + second);
    mWithSets.insert(mWithSets.end(), mSetup.configuration.begin(), mSetup.configuration.end());
    mWithSets.insert(mWithSets.end(), converted.data + second, converted.data + converted.size);
    return mWithSets;
}

}  // namespace orvel
