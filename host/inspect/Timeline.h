// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>

#include <array>
#include <optional>
#include <vector>

#include "format/TrackFormat.h"

namespace orvel {

// What lies when and where in a file, in columns whose number does not grow with it.
class Timeline {
  public:
    struct Moment {  // a column of time
        uint64_t videoBytes = 0;
        uint64_t audioBytes = 0;
        uint32_t keyFrames = 0;
        int64_t leadMs = 0;  // farthest that audio is ahead of video in the file (below 0: behind)
        bool hasLead = false;
    };
    enum Content { kVideo, kAudio, kScript, kDamage, kContents };
    using Place = std::array<uint64_t, kContents>;  // a column of the file: bytes of each
    struct Gap {                                    // where tags were lost
        int64_t fromMs, toMs;
        int64_t offset, size;
    };

    static constexpr size_t kMoments = 2048;
    static constexpr size_t kPlaces = 256;
    static constexpr size_t kMostGaps = 256;

    void begin(int64_t fileSize) { mFileSize = fileSize; }
    void addSample(TrackKind kind, int64_t timeMs, uint64_t bytes, bool isKeyFrame);
    void addBytes(Content content, int64_t from, int64_t to);
    void addGap(const Gap& gap);
    // Behind damage, how far audio is ahead of video cannot be told before both have been seen again.
    void breakOff() { mLastMs[0] = mLastMs[1] = -1; }

    int64_t firstMs() const { return mFirstMs.value_or(0); }
    int64_t columnMs() const { return mColumnMs; }  // a power of 2
    const std::vector<Moment>& moments() const { return mMoments; }
    const std::vector<Place>& places() const { return mPlaces; }
    const std::vector<Gap>& gaps() const { return mGaps; }
    int64_t lastMs(TrackKind kind) const {
        return mLastMs[kind == TrackKind::kAudio];
    }  // -1 before the first

  private:
    Moment& at(int64_t timeMs);
    void halve();

    int64_t mFileSize = 0;
    std::optional<int64_t> mFirstMs;
    int64_t mColumnMs = 1;
    int64_t mLastMs[2] = {-1, -1};
    std::vector<Moment> mMoments = std::vector<Moment>(kMoments);
    std::vector<Place> mPlaces = std::vector<Place>(kPlaces);
    std::vector<Gap> mGaps;
};

}  // namespace orvel
