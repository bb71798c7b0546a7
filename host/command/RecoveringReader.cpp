// SPDX-License-Identifier: Apache-2.0
#include "command/RecoveringReader.h"

#include <fmt/format.h>
#include <media/stagefright/MediaBuffer.h>
#include <media/stagefright/MediaErrors.h>

#include <algorithm>
#include <utility>

#include "support/TimeText.h"

namespace orvel {
namespace {

constexpr int64_t kMillisecond = 1000;
constexpr int64_t kSecond = 1000 * kMillisecond;

// A file with more damage than so many seeks and breaks is not worth the hours.
constexpr int kMostSeeks = 2000;
constexpr int kMostBreaks = 1000;

constexpr int64_t kFirstStep = 100 * kMillisecond;
// The longest step, as a share of what is left of the track: what comes back between two losses must not be
// stepped over, and 64 steps at most go to the end.
constexpr int64_t kLongestStepShare = 64;
// As near as the way back comes to the last step that failed. Key frames are farther apart.
constexpr int64_t kNearEnough = 10 * kMillisecond;

// Times that no track has, but garbage that looks like a tag's header: behind the end by more than a duration
// is wrong.
constexpr int64_t kBeyondEnd = 10 * kSecond;

int64_t TimeOf(android::MediaBuffer* buffer) {
    int64_t timeUs = 0;
    buffer->meta_data()->findInt64(android::kKeyTime, &timeUs);
    return timeUs;
}

bool IsSync(android::MediaBuffer* buffer) {
    int32_t isSync = 0;
    return buffer->meta_data()->findInt32(android::kKeyIsSyncFrame, &isSync) && isSync != 0;
}

}  // namespace

RecoveringReader::RecoveringReader(const Plugin& plugin, const Input& input, size_t track, LossReport report)
    : mPlugin(plugin),
      mFormat(input.tracks()[track]),
      mReport(std::move(report)),
      mView(new SalvageView(&input.source())),
      mEndUs(mFormat.durationUs),
      mSeeksLeft(kMostSeeks),
      mBreaksLeft(kMostBreaks) {
    openTrack();
}

// Damage may have hidden the other track, so a track's number may change.
void RecoveringReader::openTrack() {
    android::sp<android::MediaExtractor> extractor = mPlugin.createExtractor(mView);
    mSource.clear();
    for (size_t i = 0; i < extractor->countTracks(); ++i) {
        TrackFormat format = ReadTrackFormat(*extractor->getTrackMetaData(i));
        if (format.kind != mFormat.kind) continue;
        mSource = extractor->getTrack(i);
        if (format.durationUs > 0) mEndUs = format.durationUs;
    }
}

android::status_t RecoveringReader::start(android::MetaData* params) {
    return mSource == nullptr ? android::ERROR_UNSUPPORTED : mSource->start(params);
}

android::status_t RecoveringReader::stop() {
    return mSource == nullptr ? android::OK : mSource->stop();
}

android::sp<android::MetaData> RecoveringReader::getFormat() {
    return mSource == nullptr ? nullptr : mSource->getFormat();
}

android::status_t RecoveringReader::read(android::MediaBuffer** buffer, const ReadOptions* options) {
    *buffer = nullptr;
    if (mSource == nullptr) return android::ERROR_END_OF_STREAM;
    int64_t seekUs;
    ReadOptions::SeekMode mode;
    bool seeks = options != nullptr && options->getSeekTo(&seekUs, &mode);
    if (seeks) {
        mLatestUs = -1;
        mFloorUs.reset();
    }
    if (readLater(buffer, options) == android::OK) return deliver(buffer);
    // A seek that ends the stream was made to a time that is not there.
    return seeks ? android::ERROR_END_OF_STREAM : recover(buffer);
}

// Passes over what a seek behind damage has brought back although it was there before.
android::status_t RecoveringReader::readLater(android::MediaBuffer** buffer, const ReadOptions* options) {
    android::status_t status = mSource->read(buffer, options);
    while (status == android::OK && mFloorUs && TimeOf(*buffer) <= *mFloorUs) {
        (*buffer)->release();
        status = mSource->read(buffer);
    }
    if (status != android::OK) *buffer = nullptr;
    return status;
}

android::status_t RecoveringReader::deliver(android::MediaBuffer** buffer) {
    int64_t timeUs = TimeOf(*buffer);
    if (mLatestUs >= 0 && timeUs > mLatestUs) mStepsUs[mNextStep++ % mStepsUs.size()] = timeUs - mLatestUs;
    mLatestUs = std::max(mLatestUs, timeUs);
    return android::OK;
}

android::status_t RecoveringReader::recover(android::MediaBuffer** buffer) {
    bool isStuck = false;  // behind a break
    while (mBreaksLeft > 0 && mView->mendNext()) {
        --mBreaksLeft;
        openTrack();
        isStuck = true;
        if (mSource == nullptr || mSource->start() != android::OK) break;
        if (resume(buffer) != android::OK) continue;
        mReport(LostSpan{mLatestUs, TimeOf(*buffer), usualStepUs()});
        mFloorUs = std::exchange(mLatestUs, -1);  // what damage costs is no step of the track's
        return deliver(buffer);
    }
    if (isStuck && mLatestUs >= 0 && mEndUs - mLatestUs > usualStepUs() + kMillisecond)
        mReport(LostSpan{mLatestUs, -1, usualStepUs()});
    return android::ERROR_END_OF_STREAM;
}

// By a seek, which spares reading what was there before. Some samples no seek reaches, such as those of the
// last group of pictures where PreviousTagSize fields are wrong; they are read up to.
android::status_t RecoveringReader::resume(android::MediaBuffer** buffer) {
    ReadOptions options;
    if (std::optional<int64_t> timeUs = findLaterSample()) {
        options.setSeekTo(*timeUs);
    } else {
        mSource->start();
    }
    android::status_t status = mSource->read(buffer, &options);
    while (status == android::OK && !isLater(*buffer)) {
        (*buffer)->release();
        status = mSource->read(buffer);
    }
    if (status != android::OK) *buffer = nullptr;
    return status;
}

std::optional<int64_t> RecoveringReader::findLaterSample() {
    int64_t failedUs = std::max<int64_t>(mLatestUs, 0);
    std::optional<int64_t> landedUs = stepOn(&failedUs);
    if (landedUs) landedUs = goBack(failedUs, *landedUs);
    return landedUs;
}

// Result: a time whose seek lands on a later sample, with *failedUs the last one before whose seek does not.
std::optional<int64_t> RecoveringReader::stepOn(int64_t* failedUs) {
    int64_t longest = std::max(kFirstStep, (mEndUs - *failedUs) / kLongestStepShare);
    int64_t step = std::min(kFirstStep, longest);
    for (int64_t timeUs = *failedUs + kMillisecond; timeUs < mEndUs + step; timeUs += step) {
        std::optional<int64_t> landedUs = probe(std::min(timeUs, mEndUs));
        if (landedUs) return landedUs;
        *failedUs = timeUs;
        step = std::min(step * 3 / 2, longest);
    }
    return std::nullopt;
}

// A step may have gone past samples that can be had: halves the way between it and the one before.
int64_t RecoveringReader::goBack(int64_t failedUs, int64_t landedUs) {
    while (landedUs - failedUs > kNearEnough) {
        int64_t middleUs = failedUs + (landedUs - failedUs) / 2;
        std::optional<int64_t> earlierUs = probe(middleUs);
        if (earlierUs && *earlierUs < landedUs) {
            landedUs = *earlierUs;
        } else {
            failedUs = middleUs;
        }
    }
    return landedUs;
}

// Result: the time of the sample that a seek lands on, if it is one to go on with.
std::optional<int64_t> RecoveringReader::probe(int64_t timeUs) {
    if (mSeeksLeft == 0) return std::nullopt;
    --mSeeksLeft;
    ReadOptions options;
    options.setSeekTo(timeUs);
    android::MediaBuffer* buffer = nullptr;
    if (mSource->read(&buffer, &options) != android::OK || buffer == nullptr) return std::nullopt;
    int64_t landedUs = TimeOf(buffer);
    bool isUsable = isLater(buffer);
    buffer->release();
    return isUsable ? std::optional<int64_t>(landedUs) : std::nullopt;
}

bool RecoveringReader::isLater(android::MediaBuffer* buffer) const {
    int64_t timeUs = TimeOf(buffer);
    bool isPlausible = timeUs > mLatestUs && timeUs <= mEndUs + kBeyondEnd;
    return isPlausible && (mFormat.kind == TrackKind::kAudio || IsSync(buffer));
}

TrackReader OpenRecovering(const Plugin& plugin, const Input& input, size_t track, LossReport report) {
    return TrackReader(new RecoveringReader(plugin, input, track, std::move(report)));
}

std::string DescribeLoss(const Input& input, size_t track, const LostSpan& span) {
    std::string from = span.lastUs < 0 ? "its beginning" : FormatSeconds(span.lastUs) + " s";
    std::string to = FormatSeconds(span.resumedUs);
    std::string what = span.resumedUs < 0 ? fmt::format("has nothing behind {}", from)
                       : span.isHole()    ? fmt::format("has nothing between {} and {} s", from, to)
                                          : fmt::format("goes on at {} s behind {}", to, from);
    return fmt::format("{}: damaged: the {} track {}", input.name(), input.tracks()[track].kindName(), what);
}

}  // namespace orvel
