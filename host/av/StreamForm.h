// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "av/AvModule.h"

namespace orvel {

// A track in the form that AvModule takes: what describes it, and its samples. AVC and HEVC get start codes
// throughout, and their parameter sets, put right where the plug-in's record bent them, go in front as
// configuration.
class StreamForm {
  public:
    // pcmBits: of a PCM track, whose format does not tell.
    StreamForm(const TrackFormat& format, int pcmBits);

    const StreamSetup& setup() const { return mSetup; }

    // The result holds until the next call, and no longer than the sample. What lies behind a NAL unit's
    // length that does not fit is left out.
    ByteSpan convert(ByteSpan sample);

    // Puts the parameter sets after the access unit delimiter (H.264, 7.3.2.4; H.265, 7.3.2.5) of an access
    // unit in Annex B form that begins with one and has none, which a transport stream's decoder would wait
    // for in vain: its muxer adds them only where there is no delimiter. The result holds as that of
    // convert().
    ByteSpan withParameterSets(ByteSpan converted);

  private:
    bool isDelimiter(uint8_t nalHeader) const;
    bool isSequenceParameterSet(uint8_t nalHeader) const;

    StreamSetup mSetup;
    size_t mNalLengthSize = 0;  // 0 for codecs without NAL units
    std::vector<uint8_t> mConverted;
    std::vector<uint8_t> mWithSets;
};

}  // namespace orvel
