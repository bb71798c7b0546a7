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

  private:
    StreamSetup mSetup;
    size_t mNalLengthSize = 0;  // 0 for codecs without NAL units
    std::vector<uint8_t> mConverted;
};

}  // namespace orvel
