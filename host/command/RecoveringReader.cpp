// SPDX-License-Identifier: Apache-2.0
#include "command/RecoveringReader.h"

#include <fmt/format.h>
#include <media/stagefright/MediaBuffer.h>
#include <media/stagefright/MediaErrors.h>

#include <algorithm>

#include "support/TimeText.h"

namespace orvel {
namespace {

constexpr int64_t kMillisecond = 1000;
constexpr int64_t kSecond = 1000 * kMillisecond;

// A file with more damage than this many seeks get over is not worth the hours.
constexpr int kMostSeeks = 2000;

constexpr int64_t kFirstStep = 100 * kMillisecond;
// The longest step, as a share of what is left of the track: what comes back between two losses must not be stepped
// over, and 64 steps at most go to the end.
constexpr int64_t kLongestStepShare = 64;
// As near as the way back comes to the last step that failed. Key frames are farther apart.
constexpr int64_t kNearEnough = 10 * kMillisecond;

// Times that no track has, but garbage that looks like a tag's header: behind the duration by more than encoders are
// wrong about it.
constexpr int64_t kBeyondDuration = 10 * kSecond;

int64_t TimeOf(android::MediaBuffer* buffer) {
    int64_t timeUs = 0;
    buffer->meta_data()->findInt64(android::kKeyTime, &timeUs);
    return timeUs;
}

bool IsSync(android::MediaBuffer* buffer) {
    int32_t isSync = 0;
    return buffer->meta_data()->findInt32(android::kKeyIsSyncFrame, &isSync) && isSync != 0;
}

bool IsOfKind(const android::MetaData& format, TrackKind kind) {
    return ReadTrackFormat(format).kind == kind;
}

}  // namespace

RecoveringReader::RecoveringReader(const Plugin& plugin, const Input& input, size_t track, LossReport report)
    : mPlugin(plugin),
      mFormat(input.tracks()[track]),
      mReport(std::move(report)),
      mView(new SalvageView(&input.source())),
      mSeeksLeft(kMostSeeks) {
    openTrack();
}

// The other track may be missing where its first tag is hidden, so a track's number may change.
void RecoveringReader::openTrack() {
    android::sp<android::MediaExtractor> extractor = mPlugin.createExtractor(mView);
    mSource.clear();
    for (size_t i = 0; i < extractor->countTracks(); ++i) {
        if (IsOfKind(*extractor->getTrackMetaData(i), mFormat.kind)) mSource = extractor->getTrack(i);
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
        mLongestGapUs = 0;
        mFloorUs.reset();
    }
    android::status_t status = mSource->read(buffer, options);
    while (status == android::OK && isRepetition(*buffer)) {
        (*buffer)->release();
        status = mSource->read(buffer);
    }
    if (status == android::OK) return deliver(buffer);
    *buffer = nullptr;
    // A seek that ends the stream was made to a time that is not there.
    return seeks || !endsEarly() ? status : recover(buffer);
}

android::status_t RecoveringReader::deliver(android::MediaBuffer** buffer) {
    if (mHeadEnd < 0) mHeadEnd = mView->lastEnd();
    mReached = mView->lastOffset();
    int64_t timeUs = TimeOf(*buffer);
    if (timeUs > mFormat.durationUs + kBeyondDuration) return android::OK;
    if (mLatestUs >= 0) mLongestGapUs = std::max(mLongestGapUs, timeUs - mLatestUs);
    mLatestUs = std::max(mLatestUs, timeUs);
    return android::OK;
}

bool RecoveringReader::isRepetition(android::MediaBuffer* buffer) const {
    return mFloorUs && TimeOf(buffer) <= *mFloorUs;
}

// By more than a sample may stand for. A slide show's pictures stand for long.
bool RecoveringReader::endsEarly() const {
    int64_t usual = std::clamp<int64_t>(mLongestGapUs, kFirstStep, 10 * kSecond);
    return mFormat.durationUs - std::max<int64_t>(mLatestUs, 0) > usual;
}

android::status_t RecoveringReader::recover(android::MediaBuffer** buffer) {
    mView->hide(std::max<off64_t>(mHeadEnd, 0), mHeadEnd < 0 ? 0 : mReached);
    openTrack();
    if (mSource == nullptr || mSource->start() != android::OK) return android::ERROR_END_OF_STREAM;
    std::optional<int64_t> resumeUs = findLaterSample();
    ReadOptions options;
    if (resumeUs) options.setSeekTo(*resumeUs);
    int64_t timeUs;
    if (!resumeUs || mSource->read(buffer, &options) != android::OK) return android::ERROR_END_OF_STREAM;
    if (!isLater(*buffer, &timeUs)) {
        (*buffer)->release();
        *buffer = nullptr;
        return android::ERROR_END_OF_STREAM;
    }
    mReport(LostSpan{mLatestUs, timeUs});
    mFloorUs = mLatestUs;
    mLatestUs = timeUs;
    return deliver(buffer);
}

std::optional<int64_t> RecoveringReader::findLaterSample() {
    int64_t failedUs = std::max<int64_t>(mLatestUs, 0);
    std::optional<int64_t> landedUs = stepOn(&failedUs);
    if (landedUs) landedUs = goBack(failedUs, *landedUs);
    return landedUs;
}

// Result: a time whose seek lands on a later sample, with *failedUs the last one before whose seek does not.
std::optional<int64_t> RecoveringReader::stepOn(int64_t* failedUs) {
    int64_t endUs = mFormat.durationUs;
    int64_t longest = std::max(kFirstStep, (endUs - *failedUs) / kLongestStepShare);
    int64_t step = std::min(kFirstStep, longest);
    for (int64_t timeUs = *failedUs + kMillisecond; timeUs < endUs + step; timeUs += step) {
        std::optional<int64_t> landedUs = probe(std::min(timeUs, endUs));
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
    int64_t landedUs;
    bool isUsable = isLater(buffer, &landedUs);
    buffer->release();
    return isUsable ? std::optional<int64_t>(landedUs) : std::nullopt;
}

bool RecoveringReader::isLater(android::MediaBuffer* buffer, int64_t* timeUs) const {
    *timeUs = TimeOf(buffer);
    bool isPlausible = *timeUs > mLatestUs && *timeUs <= mFormat.durationUs + kBeyondDuration;
    return isPlausible && (mFormat.kind == TrackKind::kAudio || IsSync(buffer));
}

TrackReader OpenRecovering(const Plugin& plugin, const Input& input, size_t track, LossReport report) {
    return TrackReader(new RecoveringReader(plugin, input, track, std::move(report)));
}

std::string DescribeLoss(const Input& input, size_t track, const LostSpan& span) {
    std::string from = span.lastUs < 0 ? "its beginning" : FormatSeconds(span.lastUs) + " s";
    return fmt::format("{}: damaged: the {} track has nothing between {} and {} s", input.name(),
                       input.tracks()[track].kindName(), from, FormatSeconds(span.resumedUs));
}

}  // namespace orvel
