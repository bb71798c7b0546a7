// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <media/IMediaSource.h>

#include <optional>
#include <vector>

#include "format/AccessUnit.h"

namespace orvel {

// One track, read sample by sample through the framework's source, which is started and stopped with it.
class TrackReader {
  public:
    explicit TrackReader(const android::sp<android::IMediaSource>& source);
    ~TrackReader();
    TrackReader(TrackReader&& other) noexcept;
    TrackReader(const TrackReader&) = delete;
    TrackReader& operator=(const TrackReader&) = delete;

    // Goes to the next sample, or to the one that a seek lands on. False at the end of the stream, which is
    // also how the plug-in reports a failed read.
    bool next();
    bool seek(int64_t timeUs);
    // The same where the plug-in takes a time for one after the end, as in files whose times begin later than
    // their duration ends: by reading from the start, if a sample has that time or a later one.
    bool seekOrRead(int64_t timeUs);

    // The sample gone to last; its bytes hold until the next call.
    const AccessUnit& sample() const { return mSample; }

  private:
    bool read(const android::IMediaSource::ReadOptions* options);
    void releaseBuffer();

    android::sp<android::IMediaSource> mSource;
    android::MediaBuffer* mBuffer = nullptr;
    AccessUnit mSample;
};

// Several tracks as a player takes them: always the track whose next sample is the earliest, and of two equal
// ones the first. Holds one sample of each.
class Interleaver {
  public:
    // With startUs, the leading track begins where a seek to it lands, and the others with their first sample
    // from that sample's time on.
    Interleaver(std::vector<TrackReader> tracks, std::optional<int64_t> startUs, size_t leading = 0);

    // The track whose turn it is, with its sample; nothing at the end of all.
    struct Turn {
        size_t track;
        const AccessUnit* sample;
    };
    std::optional<Turn> next();

    // Takes no more samples of a track.
    void end(size_t track) { mIsOpen[track] = false; }

  private:
    bool seekTo(size_t track, int64_t timeUs);

    std::vector<TrackReader> mTracks;
    std::vector<bool> mIsOpen;  // has a sample to give
    std::optional<size_t> mTaken;
};

}  // namespace orvel
