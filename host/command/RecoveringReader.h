// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <media/stagefright/MediaSource.h>

#include <array>
#include <functional>
#include <optional>

#include "flv/RunningClock.h"
#include "flv/TagWalk.h"

namespace orvel {

// What recovery does with pictures after a place where others are missing.
enum class Recovery {
    kDecodable,  // leaves them out up to the next key frame, since they would be shown broken
    kAll,        // keeps them
};

// Pictures of a file that were left out.
struct LeftOutPictures {
    uint64_t count = 0;
    int64_t firstUs = 0;  // presentation times
    int64_t lastUs = 0;
};
using LossReport = std::function<void(const LeftOutPictures&)>;

// One stream of a file, past all damage: every sample that the walk over its tags finds, in the file's order,
// on the running clock (RunningClock). Bytes are the tag's own: AVC's keep the lengths before their NAL
// units. A tag that is cut gives what there is of it.
class RecoveringReader : public android::MediaSource {
  public:
    // codec: the stream's. report is called when pictures have been left out, before the next sample.
    RecoveringReader(const android::sp<android::DataSource>& source, int64_t size, const StreamHeader& codec,
                     Recovery recovery, LossReport report);

    // Goes back to the first sample.
    android::status_t start(android::MetaData* params = nullptr) override;
    android::status_t stop() override { return android::OK; }
    android::sp<android::MetaData> getFormat() override { return nullptr; }
    // A seek goes to the last sync sample at or before the time, or to the first one.
    android::status_t read(android::MediaBuffer** buffer, const ReadOptions* options = nullptr) override;

  protected:
    ~RecoveringReader() override = default;

  private:
    struct Sample {
        TagUnit unit;
        StreamHeader header;
        int64_t timeMs;  // decoding time
        int64_t presentationUs() const { return (timeMs + header.compositionMs) * 1000; }
        bool isSync() const { return header.kind == TrackKind::kAudio || header.isKeyFrame(); }
    };
    // Where the walk stands, to come back to.
    struct Place {
        TagWalk walk;
        RunningClock clock;
        bool hasMetadata = false;
        bool mayHaveLost = false;  // tags are missing somewhere before the next sample
        bool waitsForKey = false;
        int64_t lastMs = -1;
        std::array<int64_t, 32> stepsMs = {};  // from one sample to the next, the last so many
        size_t nextStep = 0;
    };

    std::optional<Sample> nextSample();
    std::optional<Sample> sampleOf(const WalkStep& step);
    bool isWanted(const Sample& sample);
    void takeStep(int64_t timeMs);
    void tellLoss();
    std::optional<Sample> seek(int64_t timeUs);
    android::status_t deliver(const Sample& sample, android::MediaBuffer** buffer);

    const android::sp<android::DataSource> mSource;
    const StreamHeader mCodec;
    const Recovery mRecovery;
    const LossReport mReport;
    TagChain mChain;
    const int64_t mFirstSlot;
    Place mPlace;
    LeftOutPictures mLeftOut;
};

}  // namespace orvel
