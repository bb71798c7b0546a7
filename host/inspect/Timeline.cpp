// SPDX-License-Identifier: Apache-2.0
#include "inspect/Timeline.h"

#include <algorithm>

namespace orvel {

void Timeline::addSample(TrackKind kind, int64_t timeMs, uint64_t bytes, bool isKeyFrame) {
    if (!mFirstMs) mFirstMs = timeMs;
    mLastMs[kind == TrackKind::kAudio] = timeMs;
    Moment& moment = at(timeMs);
    (kind == TrackKind::kAudio ? moment.audioBytes : moment.videoBytes) += bytes;
    if (isKeyFrame) ++moment.keyFrames;
    if (mLastMs[0] < 0 || mLastMs[1] < 0) return;
    int64_t lead = mLastMs[1] - mLastMs[0];
    if (!moment.hasLead || std::abs(lead) > std::abs(moment.leadMs)) moment.leadMs = lead;
    moment.hasLead = true;
}

Timeline::Moment& Timeline::at(int64_t timeMs) {
    int64_t sinceFirst = std::max<int64_t>(timeMs - *mFirstMs, 0);
    while (sinceFirst / mColumnMs >= static_cast<int64_t>(kMoments))
        halve();
    return mMoments[static_cast<size_t>(sinceFirst / mColumnMs)];
}

void Timeline::halve() {
    for (size_t i = 0; i < kMoments; ++i) {
        Moment sum;
        for (size_t j = 2 * i; j < 2 * i + 2 && j < kMoments; ++j) {
            const Moment& part = mMoments[j];
            sum.videoBytes += part.videoBytes;
            sum.audioBytes += part.audioBytes;
            sum.keyFrames += part.keyFrames;
            if (part.hasLead && (!sum.hasLead || std::abs(part.leadMs) > std::abs(sum.leadMs))) {
                sum.leadMs = part.leadMs;
            }
            sum.hasLead = sum.hasLead || part.hasLead;
        }
        mMoments[i] = sum;
    }
    mColumnMs *= 2;
}

void Timeline::addBytes(Content content, int64_t from, int64_t to) {
    to = std::min(to, mFileSize);
    while (from < to) {
        auto columns = static_cast<double>(kPlaces), size = static_cast<double>(mFileSize);
        auto column = std::min(static_cast<size_t>(static_cast<double>(from) / size * columns), kPlaces - 1);
        auto columnEnd = static_cast<int64_t>(static_cast<double>(column + 1) / columns * size);
        int64_t end = std::min(to, std::max(columnEnd, from + 1));
        mPlaces[column][content] += static_cast<uint64_t>(end - from);
        from = end;
    }
}

void Timeline::addGap(const Gap& gap) {
    if (mGaps.size() < kMostGaps) mGaps.push_back(gap);
}

}  // namespace orvel
