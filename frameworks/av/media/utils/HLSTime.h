// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <media/stagefright/foundation/AMessage.h>
#include <stdint.h>
#include <utils/StrongPointer.h>

#include "Export.h"

namespace android {

// A time stamp of an HTTP live streaming presentation. Immutable once made.
struct ORVEL_API HLSTime {
    int32_t mDiscontinuitySeq;  // of the segment that the time belongs to; -1 when unknown
    int64_t mTimeUs;            // media time in microseconds; -1 when unknown
    sp<AMessage> mMeta;         // what the record was made from; may be null

    // Takes "discontinuitySeq" (int32) and "timeUs" (int64) from the message. meta may be null.
    HLSTime(const sp<AMessage>& meta);

    // Start of the time's segment on the presentation time line, in microseconds; -1 without a message.
    //
    // That is "segmentStartTimeUs" (-1 when absent), plus the distance of the media time from
    // "segmentFirstTimeUs" when present. When "playlistTimeUs" is present (the time of ALooper::GetNowUs at
    // which the playlist was fetched), the playlist's age rounded to whole segments of "segmentDurationUs" is
    // subtracted, and the result is at least 0. An absent or zero duration counts as an age of 0. All four
    // are int64; sums beyond 64 bits wrap around.
    //
    // Reads the message and the clock anew on every call.
    int64_t getSegmentTimeUs() const;
};

// Orders by discontinuity sequence, then by media time. The message takes no part.
ORVEL_API bool operator<(const HLSTime& t0, const HLSTime& t1);

}  // namespace android
