// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <optional>

#include "flv/StreamHeader.h"
#include "flv/TagChain.h"

namespace orvel {

// Puts the timestamps of a file's samples onto one running clock. A timestamp is believed where it goes on
// from the samples before, or where those after it and the duration go along with it. One that is not is
// replaced: a single wrong one by the time at which the sample was due, and all from a place on, as after a
// recorder's reconnect, by times that go on from there.
class RunningClock {
  public:
    // Why a timestamp was not believed.
    struct Doubt {
        enum class Kind {
            kOutlier,    // it alone is wrong
            kReconnect,  // the file's clock begins anew, or leaves for times that nothing supports
            kWrap,       // the file's clock has run out of its 24 or 32 bits
            kOffset,     // the file's clock begins at a day or more
        };
        Kind kind;
        int64_t fileMs;   // as the tag says
        int64_t clockMs;  // as it was taken
    };

    // The chain is for looking at the tags that follow, and must outlive it.
    explicit RunningClock(TagChain& chain) : mChain(&chain) {}

    // What the metadata says; times up to it are believed.
    void setDuration(double seconds);

    // The time of a sample, in milliseconds; to be asked for every sample of every stream, in the file's
    // order.
    int64_t place(const TagUnit& unit, TrackKind kind);
    // What was wrong with the timestamp placed last.
    const std::optional<Doubt>& doubt() const { return mDoubt; }

  private:
    struct Stream {
        int64_t lastMs = -1;  // on the running clock; -1 before the first sample
        int64_t lastFileMs = 0;
        int64_t stepMs = 0;  // from one sample to the next, as last seen
    };
    struct Votes {
        int all = 0;     // samples that follow
        int forNew = 0;  // those of them that go on from the timestamp
        int forOld = 0;  // those that go on from the clock before it
    };

    Stream& own(TrackKind kind) { return mStreams[kind == TrackKind::kVideo ? 0 : 1]; }
    const Stream& other(TrackKind kind) const { return mStreams[kind == TrackKind::kVideo ? 1 : 0]; }
    int64_t begin(const TagUnit& unit, TrackKind kind);
    int64_t resolve(const TagUnit& unit, TrackKind kind);
    bool isPlausible(int64_t timeMs, TrackKind kind);
    bool isBelieved(int64_t timeMs, int64_t dueMs, const Votes& votes) const;
    Votes askFollowers(const TagUnit& unit, TrackKind kind);
    std::optional<int64_t> firstFollowerMs(const TagUnit& unit);
    int64_t commit(int64_t timeMs, const TagUnit& unit, TrackKind kind);
    int64_t shiftBy(int64_t shiftMs, Doubt::Kind why, const TagUnit& unit, TrackKind kind);

    TagChain* mChain;
    std::array<Stream, 2> mStreams;
    int64_t mShiftMs = 0;         // what is added to the file's times
    int64_t mEarlierShiftMs = 0;  // a stream that is late in the file may still be on the clock before
    int64_t mStartMs = 0;         // of the first sample
    int64_t mDurationMs = 0;      // 0 when unknown
    std::optional<Doubt> mDoubt;
};

}  // namespace orvel
