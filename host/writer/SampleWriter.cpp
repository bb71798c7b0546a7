// SPDX-License-Identifier: Apache-2.0
#include "writer/SampleWriter.h"

#include <fmt/format.h>

#include "format/ParameterSets.h"
#include "support/Failure.h"
#include "writer/AdtsWriter.h"
#include "writer/AnnexBWriter.h"
#include "writer/IvfWriter.h"
#include "writer/WavWriter.h"

namespace orvel {
namespace {

// A stream whose samples carry their own headers, such as MP3: one after the other.
class PlainWriter : public SampleWriter {
  public:
    explicit PlainWriter(AtomicFile& file) : mFile(file) {}
    void write(const AccessUnit& sample) override { mFile.write(sample.bytes); }

  private:
    AtomicFile& mFile;
};

// A stream without a usable configuration record may still carry its parameter sets in its samples.
std::unique_ptr<SampleWriter> MakeAnnexB(const std::optional<ParameterSets>& sets, AtomicFile& file) {
    return std::make_unique<AnnexBWriter>(sets.value_or(ParameterSets()), file);
}

// A track without an AudioSpecificConfig is taken for what AAC in FLV nearly always is: LC at the container's
// rate.
AudioSpecificConfig AssumeLc(const TrackFormat& format) {
    auto rate = static_cast<uint32_t>(format.sampleRate);
    uint32_t index = rate == 44100 ? 4 : rate == 22050 ? 7 : 10;
    AudioSpecificConfig config;
    config.objectType = kAacLc;
    config.frequencyIndex = index;
    config.sampleRate = config.outputRate = rate;
    config.channelConfiguration = static_cast<uint32_t>(format.channelCount);
    return config;
}

std::unique_ptr<SampleWriter> MakeAdts(const TrackFormat& format, AtomicFile& file) {
    auto config = ParseAudioSpecificConfig(format.configuration).value_or(AssumeLc(format));
    std::string reason = WhyNotAdts(config);
    if (!reason.empty()) {
        throw Failure(ExitCode::kDamaged, fmt::format("AAC with {} cannot be written as ADTS", reason));
    }
    return std::make_unique<AdtsWriter>(config, file);
}

std::unique_ptr<SampleWriter> MakeAdpcm(const TrackFormat& format, const PacketSizes& sizes,
                                        AtomicFile& file) {
    if (AdpcmWriter::CanHold(sizes)) return std::make_unique<AdpcmWriter>(format, sizes, file);
    return std::make_unique<DecodedAdpcmWriter>(format, file);
}

}  // namespace

std::unique_ptr<SampleWriter> MakeSampleWriter(const TrackFormat& format, const PacketSizes& sizes,
                                               AtomicFile& file) {
    switch (format.codec) {
        case Codec::kAvc:
            return MakeAnnexB(ParseAvcConfiguration(format.configuration), file);
        case Codec::kHevc:
            return MakeAnnexB(ParseHevcConfiguration(format.configuration), file);
        case Codec::kSorensonH263:
        case Codec::kVp6:
        case Codec::kVp6Alpha:
            return std::make_unique<IvfWriter>(format, file);
        case Codec::kAac:
            return MakeAdts(format, file);
        case Codec::kMp3:
            return std::make_unique<PlainWriter>(file);
        case Codec::kPcm:
            return std::make_unique<PcmWriter>(format, file);
        case Codec::kAdpcm:
            return MakeAdpcm(format, sizes, file);
        case Codec::kUnknown:
            break;
    }
    throw Failure(ExitCode::kDamaged, fmt::format("tracks of type {} cannot be written", format.mime));
}

}  // namespace orvel
