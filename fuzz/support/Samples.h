// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <media/IMediaSource.h>
#include <utils/StrongPointer.h>

#include <cstdint>
#include <optional>
#include <vector>

#include "support/FlvTags.h"

namespace orvel {

// A delivered access unit.
struct Sample {
    int64_t timeUs;
    bool isSync;
    std::vector<uint8_t> bytes;
    bool operator==(const Sample& o) const {
        return timeUs == o.timeUs && isSync == o.isSync && bytes == o.bytes;
    }
};

// A track as an extractor offers it, started.
struct Track {
    explicit Track(const android::sp<android::IMediaSource>& opened);

    android::sp<android::IMediaSource> source;
    bool isAudio;
    bool isAvc;
};

// The next sample, or the one that a seek lands on; nothing at the end. What read promises is required.
std::optional<Sample> ReadSample(const Track& track,
                                 const android::IMediaSource::ReadOptions* options = nullptr);

// ReadSample that holds no more than so many bytes of heap at a time, those of the result included.
std::optional<Sample> ReadWithin(size_t heldBytes, const Track& track);

// Whether a delivered sample is this one of the file. Of AVC the length prefixes may have become start codes.
bool IsSame(const Sample& delivered, const FlvSample& stored, const Track& track);

// The samples that stand anywhere in a file, whether or not a chain of tags leads to them.
class SamplesAnywhere {
  public:
    SamplesAnywhere(ByteSpan file, const Track& track);
    bool contains(const Sample& delivered) const;

  private:
    const Track& mTrack;
    std::vector<FlvSample> mByTime;
};

}  // namespace orvel
