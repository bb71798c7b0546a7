// SPDX-License-Identifier: Apache-2.0
#define LOG_TAG "FlvExtractor"

#include <log/log.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "FlvSource.h"

namespace android {

namespace {

constexpr size_t kMinIndexEntries = 10;
constexpr int64_t kMaxSecondsPastIndex = 10;

// Below this an index has no answer: no tag that it could mean begins so early in a file.
constexpr int64_t kMinIndexedPosition = 16;

constexpr int64_t kMicrosecondsPerMillisecond = 1000;
constexpr int64_t kMicrosecondsPerSecond = 1000000;

constexpr uint32_t kLocalBackOffBytes = 32768;
constexpr uint32_t kCachingBackOffBytes = 65536;

// Truncates toward zero; what lies outside Integer goes to its nearest end, as times and positions of a
// hostile index may be of any size.
template <typename Integer>
Integer Truncate(double value) {
    if (std::isnan(value)) return 0;
    if (value <= static_cast<double>(std::numeric_limits<Integer>::min())) {
        return std::numeric_limits<Integer>::min();
    }
    if (value >= static_cast<double>(std::numeric_limits<Integer>::max())) {
        return std::numeric_limits<Integer>::max();
    }
    return static_cast<Integer>(value);
}

// (timeUs + 500) / 1000 without the sum's overflow, for times that are not negative.
int64_t RoundToMilliseconds(int64_t timeUs) {
    const int64_t half = kMicrosecondsPerMillisecond / 2;
    return timeUs / kMicrosecondsPerMillisecond + (timeUs % kMicrosecondsPerMillisecond >= half ? 1 : 0);
}

// Of two entries the one whose time is nearer, the first on a tie.
size_t Nearer(const Vector<double>& times, size_t first, size_t second, double time) {
    return std::fabs(times[second] - time) < std::fabs(times[first] - time) ? second : first;
}

}  // namespace

void FlvSource::seekToTime(int64_t timeUs) {
    reset();
    if (timeUs < 1) {
        advance(false);
        return;
    }
    const int64_t targetMs = RoundToMilliseconds(timeUs);
    int64_t position = getPosForTime(timeUs);
    if (position < kMinIndexedPosition) {
        ALOGD("in slow seek scheme, trackType=%d", static_cast<int>(track().mType));
        position = estimatePosition(targetMs);
    } else if (seekByIndex(position)) {
        return;
    }
    seekSlowly(targetMs, position);
}

// The probed entry leaves the range before the last comparison, so the answer is close to the whole second at
// or below the time, not always the nearest to it.
int64_t FlvSource::getPosForTime(int64_t timeUs) {
    const size_t count = mKeyFrameTimes.size();
    if (mKeyFramePositions.size() != count || count < kMinIndexEntries) return -1;
    const int32_t last = Truncate<int32_t>(mKeyFrameTimes[count - 1]);
    const int32_t wanted = Truncate<int32_t>(static_cast<double>(timeUs) / kMicrosecondsPerSecond);
    if (int64_t{wanted} - last > kMaxSecondsPastIndex) {
        ALOGD("Attention: seek seconds = %d, last keyframetime = %d", wanted, last);
        return -1;
    }
    const auto target = static_cast<double>(timeUs / kMicrosecondsPerSecond);
    size_t lo = 0;
    size_t hi = count - 1;
    while (lo <= hi) {
        const size_t mid = lo + (hi - lo) / 2;
        const double time = mKeyFrameTimes[mid];
        if (time < target) {
            if (hi - mid <= 1)
                return Truncate<int64_t>(mKeyFramePositions[Nearer(mKeyFrameTimes, mid, hi, target)]);
            lo = mid + 1;
        } else if (time > target) {
            if (mid - lo <= 1)
                return Truncate<int64_t>(mKeyFramePositions[Nearer(mKeyFrameTimes, lo, mid, target)]);
            hi = mid - 1;
        } else {
            return Truncate<int64_t>(mKeyFramePositions[mid]);
        }
    }
    return -1;
}

// False when no tag can be read at the indexed position, or one without a payload.
bool FlvSource::seekByIndex(int64_t position) {
    bool usable = readTagAt(position - FlvReader::kPreviousTagSizeBytes) && mTag.mDataSize != 0;
    if (usable) {
        mCurrentPos = mFile.mOffset + mTag.mDataSize;
        usable = mIsAudio || recordIndexedVideoTag();
    }
    if (!usable) {
        ALOGD("there is something wrong, we use the slow seek scheme(may cause anr)");
    } else if (mIsAudio) {
        advance(false);
        ALOGD("use the next audio tag directly");
    } else {
        ALOGD("use keyframe table(pos->time),pos = %lld", static_cast<long long>(position));
    }
    return usable;
}

// The index is taken at its word as to what the tag is: neither its type nor its packet type is tested.
bool FlvSource::recordIndexedVideoTag() {
    FlvReader::VideoTag header;
    if (!mReader.ReadTag(header)) return false;
    if (FlvReader::HasPacketType(header.mCodecId)) mFile.BitRead(8);
    return examineVideoPayload(header) == Unit::kSample;
}

// By proportion of the duration. Without one the whole file is ahead.
int64_t FlvSource::estimatePosition(int64_t targetMs) const {
    if (mReader.mDuration == 0) return mReader.mDataOffset;
    const double share = static_cast<double>(targetMs) / mReader.mDuration;
    const auto first = static_cast<double>(mReader.mDataOffset);
    return Truncate<int64_t>(first + share * (static_cast<double>(mFile.mFileSize) - first));
}

// What the passes of one seek share.
struct FlvSource::BackOff {
    static constexpr int64_t kNoSlot = std::numeric_limits<int64_t>::max();
    static constexpr size_t kMarks = 64;

    int64_t targetMs;
    uint32_t step;  // bytes to go back before the next pass
    // Whether a suitable sample counts although the stream ends before a later one.
    bool endSuffices;
    int64_t markBytes;  // of the file for each mark
    // Slots of the tag at which the last pass landed and of its first sample; behind these it found nothing
    // suitable.
    int64_t landed = kNoSlot;
    int64_t barrenFrom = kNoSlot;
    // In each part of the file, a slot over which a pass came to its first sample. A pass that comes over it
    // without a sample has the same one in front of it.
    int64_t marks[kMarks];
    size_t part = kMarks;  // in which the current pass is; none at its beginning

    BackOff(int64_t target, uint32_t firstStep, bool endIsEnough, int64_t fileSize)
        : targetMs(target),
          step(firstStep),
          endSuffices(endIsEnough),
          markBytes(fileSize / static_cast<int64_t>(kMarks) + 1) {
        for (int64_t& mark : marks)
            mark = kNoSlot;
    }
};

// The plain scan walks backward by PreviousTagSize fields, so it needs a file on which they agree and a
// source on which going back costs nothing. The passes only ever read forward. A chain that turns out broken
// half-way back, though it was sound at the head of the file, sends the seek on to the passes; that there is
// a sample behind the target is known by then.
void FlvSource::seekSlowly(int64_t targetMs, int64_t estimate) {
    const bool caching = (mFile.mSource->flags() & DataSource::kIsCachingDataSource) != 0;
    const bool plain = !caching && !mReader.mPrevTagSizeMismatch;
    if (plain) {
        int64_t slot = estimate;
        if (!synchronise(&slot) || plainScan(targetMs)) return;
    }
    const uint32_t step = caching ? kCachingBackOffBytes : kLocalBackOffBytes;
    BackOff backOff(targetMs, mIsAudio ? step : 2 * step, plain, mFile.mFileSize);
    backOffScan(&backOff, estimate);
}

// Moves to the first tag at or after the estimate; the end of the stream when there is none.
bool FlvSource::synchronise(int64_t* estimate) {
    long slot = *estimate;
    if (!mReader.Sync(slot)) {
        mReachedEOS = true;
        mCurrentPos = mFile.mFileSize;
        return false;
    }
    *estimate = mCurrentPos = slot;
    return true;
}

bool FlvSource::isEarlyEnough(int64_t targetMs) const {
    return mTag.mTimestamp <= targetMs && (mIsAudio || mIsSyncFrame);
}

// Forward to the target and back to the last suitable sample at or before it; the track's first sample when
// there is none. A target behind the last sample ends the stream. False when the way back is broken.
bool FlvSource::plainScan(int64_t targetMs) {
    do {
        if (!advance(false)) return true;
    } while (mTag.mTimestamp < targetMs);
    while (!isEarlyEnough(targetMs)) {
        const uint32_t timestamp = mTag.mTimestamp;
        const Step step = stepBack();
        if (step == Step::kBroken) return false;
        if (step != Step::kSample || mTag.mTimestamp == timestamp) return true;
    }
    return true;
}

// Passes that start ever farther in front of the estimate. The last one starts at the first tag of the file:
// when even that lands behind the target, the track's first sample is the answer.
void FlvSource::backOffScan(BackOff* backOff, int64_t estimate) {
    const int64_t dataOffset = mReader.mDataOffset;
    for (bool last = false; !last;) {
        // A step that has wrapped to 0 has been everywhere that 32 bits reach.
        last = backOff->step == 0 || estimate <= dataOffset + backOff->step;
        estimate = last ? dataOffset : estimate - backOff->step;
        backOff->step = static_cast<uint32_t>(uint64_t{backOff->step} * 2);
        if (!synchronise(&estimate)) return;
        // A pass that lands where the one before did would scan the same tags to the same end.
        if (estimate >= backOff->landed) continue;
        if (scanPass(backOff) == Pass::kDone) return;
        backOff->landed = estimate;
        last = last || estimate == dataOffset;
    }
    reset();
    advance(false);
}

// Passes that begin at different tags often go on over the same ones; were each to look for its first sample
// to the end, a file with few samples in it would be gone through as often as there are passes.
bool FlvSource::joinsEarlierPass(BackOff* backOff) const {
    const auto part = static_cast<size_t>(mCurrentPos / backOff->markBytes);
    if (part == backOff->part || part >= BackOff::kMarks) return false;
    backOff->part = part;
    if (backOff->marks[part] == mCurrentPos) return true;
    backOff->marks[part] = mCurrentPos;
    return false;
}

// Scans forward from a resynchronised tag for the last suitable sample at or before the target and records
// it. The first sample only tells whether the pass began early enough. Ends at the end of the stream when
// that comes before a sample later than the target.
FlvSource::Pass FlvSource::scanPass(BackOff* backOff) {
    backOff->part = BackOff::kMarks;
    if (!advanceForward(backOff)) return mReachedEOS ? Pass::kDone : Pass::kTooLate;
    if (backOff->targetMs < mTag.mTimestamp) return Pass::kTooLate;
    const int64_t probe = currentSlot();
    const int64_t barrenFrom = backOff->barrenFrom;
    int64_t remembered = -1;
    while ((remembered >= 0 || currentSlot() < barrenFrom) && advance(false)) {
        if (remembered < 0 && currentSlot() > barrenFrom) break;
        if (!mIsAudio && !mIsSyncFrame) continue;
        if (mTag.mTimestamp > backOff->targetMs) break;
        remembered = currentSlot();
    }
    if (mReachedEOS && (remembered < 0 || !backOff->endSuffices)) return Pass::kDone;
    if (remembered < 0) {
        backOff->barrenFrom = probe;
        return Pass::kTooLate;
    }
    mReachedEOS = false;
    mCurrentPos = remembered;
    advance(false);
    return Pass::kDone;
}

}  // namespace android
