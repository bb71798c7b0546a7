// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>

#include "format/AccessUnit.h"
#include "format/TrackFormat.h"
#include "writer/AtomicFile.h"

namespace orvel {

// Turns the samples of one track into an elementary stream's file, one at a time. Holds no samples.
class SampleWriter {
  public:
    virtual ~SampleWriter() = default;

    virtual void write(const AccessUnit& sample) = 0;
    // After the last sample: what the head of the file could not know before. The caller commits the file.
    virtual void finish() {}
    // What could not be written, or was written otherwise than expected, as a clause; empty when nothing was.
    virtual std::string remark() const { return ""; }
};

// How a track's samples lie, where its format does not tell and a file's head depends on it.
struct PacketSizes {
    bool areEqual = false;  // all but the last, which may be smaller
    size_t size = 0;
};

// The writer for the track's codec, on a file that it does not own. sizes matters for ADPCM only. Throws
// Failure (kDamaged) when the track's configuration has no form in that kind of file.
std::unique_ptr<SampleWriter> MakeSampleWriter(const TrackFormat& format, const PacketSizes& sizes,
                                               AtomicFile& file);

}  // namespace orvel
