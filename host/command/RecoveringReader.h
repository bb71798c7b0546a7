// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <media/stagefright/MediaSource.h>

#include <algorithm>
#include <array>
#include <functional>
#include <optional>

#include "command/Input.h"
#include "source/SalvageView.h"

namespace orvel {

// Where a track was read on behind damage: of the samples between these times, if there were any, none was
// delivered. Pictures that are shown out of order may be missing before the first of them, too.
struct LostSpan {
    int64_t lastUs = 0;     // the latest sample before; -1 when there was none
    int64_t resumedUs = 0;  // the sample that reading went on with; -1 when it could not go on
    int64_t usualUs = 0;    // the longest step from one sample to a later one shortly before

    // Whether the track has a hole there. Times are whole milliseconds, so that steps of one length differ by
    // one.
    bool isHole() const { return lastUs < 0 || resumedUs - lastUs > usualUs + 1000; }
};
using LossReport = std::function<void(const LostSpan&)>;

// One track of a file that may be damaged in the middle, as a source like the plug-in's own. The plug-in ends
// a track where the chain of tags breaks. When tags follow behind the break, this source seeks on past the
// last sample in growing steps, through the plug-in, until one later than all before is delivered, then back
// between the last step that failed and that sample for an earlier one, and goes on from there; a video track
// goes on with a sync sample. No sample is delivered twice. A track of a chain that is whole is delivered
// exactly as the plug-in delivers it.
//
// The number of breaks and of seeks is bounded. Every instance has an extractor of its own, so that tracks do
// not disturb each other's positions, and looks at the file through a view that bridges the breaks
// (SalvageView).
class RecoveringReader : public android::MediaSource {
  public:
    // The plug-in and the input must outlive it. report is called before the sample that ends the span is
    // delivered, or before the end of the stream.
    RecoveringReader(const Plugin& plugin, const Input& input, size_t track, LossReport report);

    android::status_t start(android::MetaData* params = nullptr) override;
    android::status_t stop() override;
    android::sp<android::MetaData> getFormat() override;
    // A seek is passed on; after it the track counts as beginning there.
    android::status_t read(android::MediaBuffer** buffer, const ReadOptions* options = nullptr) override;

  protected:
    ~RecoveringReader() override = default;

  private:
    void openTrack();
    android::status_t deliver(android::MediaBuffer** buffer);
    android::status_t readLater(android::MediaBuffer** buffer, const ReadOptions* options);
    android::status_t recover(android::MediaBuffer** buffer);
    android::status_t resume(android::MediaBuffer** buffer);
    std::optional<int64_t> findLaterSample();
    std::optional<int64_t> stepOn(int64_t* failedUs);
    int64_t goBack(int64_t failedUs, int64_t landedUs);
    std::optional<int64_t> probe(int64_t timeUs);
    bool isLater(android::MediaBuffer* buffer) const;
    int64_t usualStepUs() const { return *std::max_element(mStepsUs.begin(), mStepsUs.end()); }

    const Plugin& mPlugin;
    const TrackFormat mFormat;
    const LossReport mReport;
    const android::sp<SalvageView> mView;
    android::sp<android::IMediaSource> mSource;
    int64_t mEndUs;  // what there is of the track ends about here
    int64_t mLatestUs = -1;
    std::array<int64_t, 32> mStepsUs = {};  // by which the latest time has grown, the last so many times
    size_t mNextStep = 0;
    std::optional<int64_t> mFloorUs;  // after a loss: what is not later was there before
    int mSeeksLeft;
    int mBreaksLeft;
};

// A reader of the track that recovers.
TrackReader OpenRecovering(const Plugin& plugin, const Input& input, size_t track, LossReport report);

// What to complain about: "name: damaged: the video track has nothing between 4.960 s and 6.080 s", or where
// there is no hole "... goes on at 4.983 s behind 4.960 s", or at the end "... has nothing behind 4.960 s".
std::string DescribeLoss(const Input& input, size_t track, const LostSpan& span);

}  // namespace orvel
