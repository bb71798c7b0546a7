// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "command/Input.h"
#include "writer/AtomicFile.h"
#include "writer/SampleWriter.h"
#include "writer/TimestampFile.h"

namespace orvel {

// The times of a track's samples, as they come.
class TrackSpan {
  public:
    void add(int64_t timeUs);
    uint64_t count() const { return mCount; }
    int64_t firstUs() const { return mEarliestUs; }
    int64_t lastUs() const { return mLatestUs; }

    // Whether the track ends well before a time: by more than 1 s, 2 % of that time, and the longest distance
    // between two of its samples (as far as 10 s), since a slide show's last picture stands for long.
    bool endsWellBefore(int64_t timeUs) const;

  private:
    uint64_t mCount = 0;
    int64_t mEarliestUs = 0;
    int64_t mLatestUs = 0;
    int64_t mLongestGapUs = 0;
};

// The file for a track: its stem with the codec's extension. Throws Failure (kDamaged) for a codec that has
// none.
std::string PathOfTrack(const std::string& stem, const TrackFormat& format);

// One track on its way into files: the elementary stream and, if wanted, its timestamps.
class ExtractedTrack {
  public:
    // Throws Failure when a file is there already or cannot be made.
    ExtractedTrack(const Input& input, size_t track, const std::string& path, AtomicFile::Existing existing,
                   bool withTimestamps);

    void write(const AccessUnit& sample);

    // Gives the files their names, unless there were no samples. Result: the line that reports it.
    std::string commit();

    size_t track() const { return mTrack; }
    const TrackSpan& span() const { return mSpan; }
    const std::string& path() const { return mFile.path(); }
    // What is worth a warning about what was written; empty when nothing is.
    std::string remark() const;

  private:
    const TrackFormat& mFormat;
    const size_t mTrack;
    AtomicFile mFile;
    std::unique_ptr<SampleWriter> mWriter;
    std::unique_ptr<AtomicFile> mTimestampsFile;
    std::unique_ptr<TimestampFile> mTimestamps;
    TrackSpan mSpan;
};

}  // namespace orvel
