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

}  // namespace orvel
