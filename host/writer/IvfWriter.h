// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "writer/SampleWriter.h"

namespace orvel {

// IVF: a 32-byte head and, in front of each frame, its size and its time in milliseconds; all little-endian.
// Readers know the codec by the FourCC, FLV1 or VP6F. A frame of VP6 with alpha arrives without the offset
// that leads to its alpha plane; what is left decodes as VP6F, in colour and opaque, so it is named that.
class IvfWriter : public SampleWriter {
  public:
    IvfWriter(const TrackFormat& format, AtomicFile& file);
    void write(const AccessUnit& sample) override;
    void finish() override;

  private:
    AtomicFile& mFile;
    uint32_t mFrames = 0;
};

}  // namespace orvel
