// SPDX-License-Identifier: Apache-2.0
#include "flv/RunningClock.h"

#include <algorithm>
#include <cmath>

namespace orvel {
namespace {

constexpr int64_t kSecond = 1000, kMinute = 60 * kSecond, kHour = 60 * kMinute, kDay = 24 * kHour;

// Samples of a stream come closer to each other than this; a longer pause needs support.
constexpr int64_t kLongestPause = 10 * kSecond;
// Writers are off by as much in the order of their tags.
constexpr int64_t kBackSlack = kSecond;
// The longest pause of a recording that goes on afterwards which is believed without a duration.
constexpr int64_t kLongestBelievedPause = kHour;
// The same for the last sample of a file, which nothing follows, such as the last slide.
constexpr int64_t kLongestLastPause = kMinute;

constexpr int64_t kClockBits[] = {24, 32};
constexpr int64_t kWrapSlack = kMinute;

// How far to look ahead when a timestamp is doubted: enough of a stream's samples for a majority, and no more
// tags than a doubt on every tag can afford.
constexpr int kMostFollowers = 6;
constexpr int kMostTagsAhead = 48;

bool IsMedia(const TagUnit& unit) {
    return (unit.is(TagType::kVideo) || unit.is(TagType::kAudio)) && ReadStreamHeader(unit).isSample();
}

bool GoesOn(int64_t fromMs, int64_t timeMs) {
    return timeMs >= fromMs - kBackSlack && timeMs <= fromMs + kLongestPause;
}

}  // namespace

void RunningClock::setDuration(double seconds) {
    constexpr double kLongest = 1e9;
    if (seconds > 0 && seconds < kLongest) mDurationMs = static_cast<int64_t>(seconds * 1000);
}

int64_t RunningClock::place(const TagUnit& unit, TrackKind kind) {
    mDoubt.reset();
    if (own(kind).lastMs < 0 && other(kind).lastMs < 0) return begin(unit, kind);
    for (int64_t shift : {mShiftMs, mEarlierShiftMs}) {
        int64_t timeMs = unit.timestampMs + shift;
        if (isPlausible(timeMs, kind)) return commit(timeMs, unit, kind);
    }
    return resolve(unit, kind);
}

int64_t RunningClock::commit(int64_t timeMs, const TagUnit& unit, TrackKind kind) {
    Stream& stream = own(kind);
    timeMs = std::max<int64_t>(timeMs, 0);
    int64_t step = timeMs - stream.lastMs;
    if (stream.lastMs >= 0 && step > 0 && step <= kLongestPause) stream.stepMs = step;
    stream.lastMs = timeMs;
    stream.lastFileMs = unit.timestampMs;
    if (mDoubt) mDoubt->clockMs = timeMs;
    return timeMs;
}

int64_t RunningClock::shiftBy(int64_t shiftMs, Doubt::Kind why, const TagUnit& unit, TrackKind kind) {
    mEarlierShiftMs = mShiftMs;
    mShiftMs = shiftMs;
    mDoubt = Doubt{why, unit.timestampMs, 0};
    return commit(unit.timestampMs + shiftMs, unit, kind);
}

// The first sample has none before it. It is wrong alone if those after it agree on another time, and with
// all of the file if that begins at a day.
int64_t RunningClock::begin(const TagUnit& unit, TrackKind kind) {
    mStartMs = unit.timestampMs;
    std::optional<int64_t> followerMs = firstFollowerMs(unit);
    if (followerMs && !GoesOn(unit.timestampMs, *followerMs) && askFollowers(unit, kind).forNew == 0) {
        mStartMs = *followerMs;
        mDoubt = Doubt{Doubt::Kind::kOutlier, unit.timestampMs, 0};
        if (mStartMs >= kDay) mShiftMs = mEarlierShiftMs = -mStartMs;
        return commit(mStartMs + mShiftMs, unit, kind);
    }
    if (mStartMs < kDay) return commit(mStartMs, unit, kind);
    shiftBy(-mStartMs, Doubt::Kind::kOffset, unit, kind);
    mEarlierShiftMs = mShiftMs;
    return own(kind).lastMs;
}

// A stream that has no sample yet may begin anywhere in what there is of the other one.
bool RunningClock::isPlausible(int64_t timeMs, TrackKind kind) {
    int64_t ownMs = own(kind).lastMs, otherMs = other(kind).lastMs;
    int64_t earliest = ownMs < 0 ? mStartMs + mShiftMs - kLongestPause : ownMs - kBackSlack;
    return timeMs >= earliest && timeMs <= std::max(ownMs, otherMs) + kLongestPause;
}

int64_t RunningClock::resolve(const TagUnit& unit, TrackKind kind) {
    const Stream& stream = own(kind);
    const int64_t dueMs = stream.lastMs < 0 ? other(kind).lastMs : stream.lastMs + stream.stepMs;
    const int64_t timeMs = unit.timestampMs + mShiftMs;
    const Votes votes = askFollowers(unit, kind);
    const bool hasLeft = votes.forNew > votes.forOld || (votes.forNew == votes.forOld && timeMs > dueMs);
    for (int64_t bits : kClockBits) {
        int64_t range = int64_t{1} << bits;
        bool wraps = range - stream.lastFileMs >= 0 && range - stream.lastFileMs <= kWrapSlack &&
                     unit.timestampMs <= kWrapSlack;
        if (wraps && votes.forNew >= votes.forOld && isPlausible(timeMs + range, kind))
            return shiftBy(mShiftMs + range, Doubt::Kind::kWrap, unit, kind);
    }
    if (hasLeft && isBelieved(timeMs, dueMs, votes)) return commit(timeMs, unit, kind);
    if (hasLeft && votes.forNew > 0) {
        return shiftBy(std::max(dueMs, std::min(other(kind).lastMs, dueMs + kBackSlack)) - unit.timestampMs,
                       Doubt::Kind::kReconnect, unit, kind);
    }
    mDoubt = Doubt{Doubt::Kind::kOutlier, unit.timestampMs, 0};
    const int64_t stepMs = stream.stepMs;
    commit(dueMs, unit, kind);
    own(kind).stepMs = stepMs;
    return dueMs;
}

// A pause is believed where the duration covers it, or where the stream goes on after it, if only after other
// pauses.
bool RunningClock::isBelieved(int64_t timeMs, int64_t dueMs, const Votes& votes) const {
    if (timeMs < dueMs) return false;
    if (mDurationMs > 0 && timeMs - (mStartMs + mShiftMs) <= mDurationMs + kLongestPause) return true;
    return timeMs - dueMs <= (votes.all > votes.forOld ? kLongestBelievedPause : kLongestLastPause);
}

RunningClock::Votes RunningClock::askFollowers(const TagUnit& unit, TrackKind kind) {
    Votes votes;
    TagType type = kind == TrackKind::kVideo ? TagType::kVideo : TagType::kAudio;
    int64_t slot = unit.next(), oldMs = own(kind).lastMs;
    for (int tags = 0, found = 0; tags < kMostTagsAhead && found < kMostFollowers; ++tags) {
        std::optional<TagUnit> follower = mChain->read(slot);
        if (!follower || !follower->isKnown()) break;
        slot = follower->next();
        if (!follower->is(type) || !IsMedia(*follower)) continue;
        ++found;
        ++votes.all;
        if (GoesOn(unit.timestampMs, follower->timestampMs)) ++votes.forNew;
        if (oldMs >= 0 && GoesOn(oldMs, follower->timestampMs + mShiftMs)) ++votes.forOld;
    }
    return votes;
}

// The time of the next sample, if the one after it goes on from there.
std::optional<int64_t> RunningClock::firstFollowerMs(const TagUnit& unit) {
    int64_t slot = unit.next();
    std::optional<int64_t> firstMs;
    for (int tags = 0; tags < kMostTagsAhead; ++tags) {
        std::optional<TagUnit> follower = mChain->read(slot);
        if (!follower || !follower->isKnown()) break;
        slot = follower->next();
        if (!IsMedia(*follower)) continue;
        if (firstMs) return GoesOn(*firstMs, follower->timestampMs) ? firstMs : std::nullopt;
        firstMs = follower->timestampMs;
    }
    return std::nullopt;
}

}  // namespace orvel
