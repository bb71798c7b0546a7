// SPDX-License-Identifier: Apache-2.0
#include "HLSTime.h"

#include <media/stagefright/foundation/ALooper.h>

namespace android {

namespace {

// The times come out of a playlist from the network: any 64-bit value may stand there, and a sum that does
// not fit wraps around. The overflow that the builtins report is what is wanted.
int64_t add(int64_t a, int64_t b) {
    int64_t sum;
    (void)__builtin_add_overflow(a, b, &sum);
    return sum;
}

int64_t subtract(int64_t a, int64_t b) {
    int64_t difference;
    (void)__builtin_sub_overflow(a, b, &difference);
    return difference;
}

int64_t multiply(int64_t a, int64_t b) {
    int64_t product;
    (void)__builtin_mul_overflow(a, b, &product);
    return product;
}

// INT64_MIN / -1 has no result of 64 bits, and traps on some machines.
int64_t divide(int64_t a, int64_t b) {
    return b == -1 ? subtract(0, a) : a / b;
}

int64_t roundToSegments(int64_t ageUs, int64_t durationUs) {
    if (durationUs == 0) return 0;
    return multiply(divide(add(ageUs, durationUs / 2), durationUs), durationUs);
}

}  // namespace

HLSTime::HLSTime(const sp<AMessage>& meta) : mDiscontinuitySeq(-1), mTimeUs(-1), mMeta(meta) {
    if (mMeta == nullptr) return;
    mMeta->findInt32("discontinuitySeq", &mDiscontinuitySeq);
    mMeta->findInt64("timeUs", &mTimeUs);
}

int64_t HLSTime::getSegmentTimeUs() const {
    int64_t segmentTimeUs = -1;
    if (mMeta == nullptr) return segmentTimeUs;
    mMeta->findInt64("segmentStartTimeUs", &segmentTimeUs);

    int64_t firstTimeUs = 0;
    if (mMeta->findInt64("segmentFirstTimeUs", &firstTimeUs)) {
        segmentTimeUs = add(segmentTimeUs, subtract(mTimeUs, firstTimeUs));
    }

    int64_t playlistTimeUs = 0;
    if (mMeta->findInt64("playlistTimeUs", &playlistTimeUs)) {
        // Without a duration there are no segments to count, which is what a duration of 0 says as well.
        int64_t durationUs = 0;
        mMeta->findInt64("segmentDurationUs", &durationUs);
        const int64_t ageUs = subtract(ALooper::GetNowUs(), playlistTimeUs);
        segmentTimeUs = subtract(segmentTimeUs, roundToSegments(ageUs, durationUs));
        if (segmentTimeUs < 0) segmentTimeUs = 0;
    }
    return segmentTimeUs;
}

bool operator<(const HLSTime& t0, const HLSTime& t1) {
    if (t0.mDiscontinuitySeq != t1.mDiscontinuitySeq) return t0.mDiscontinuitySeq < t1.mDiscontinuitySeq;
    return t0.mTimeUs < t1.mTimeUs;
}

}  // namespace android
