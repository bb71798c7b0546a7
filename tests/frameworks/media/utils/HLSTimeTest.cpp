// SPDX-License-Identifier: Apache-2.0
#include "HLSTime.h"

#include <media/stagefright/foundation/ALooper.h>

#include "TestSupport.h"

using namespace android;

// Stands in front of the platform's clock, so that ages are exact.
constexpr int64_t kNow = 1000000000;
int64_t ALooper::GetNowUs() {
    return kNow;
}

TEST(HLSTime, OrdersBySequenceThenTime) {
    const auto at = [](int32_t sequence, int64_t timeUs) {
        const sp<AMessage> meta = new AMessage;
        meta->setInt32("discontinuitySeq", sequence);
        meta->setInt64("timeUs", timeUs);
        return HLSTime(meta);
    };
    EXPECT_TRUE(at(1, 900) < at(2, 0) && !(at(2, 0) < at(1, 900)));
    EXPECT_TRUE(at(2, 5) < at(2, 6) && !(at(2, 6) < at(2, 6)));
    EXPECT_TRUE(HLSTime(nullptr) < at(-1, 0) && at(-1, -2) < HLSTime(nullptr));
}

TEST(HLSTime, ComputesTheSegmentTime) {
    constexpr int64_t kNone = -99;  // the message does not carry the key
    constexpr int64_t kMin = INT64_MIN, kMax = INT64_MAX, k10s = 10000000;
    const char* const keys[] = {"timeUs", "segmentStartTimeUs", "segmentFirstTimeUs", "playlistTimeUs",
                                "segmentDurationUs"};
    const std::pair<std::vector<int64_t>, int64_t> cases[] = {
            {{2500000, k10s, 2000000, kNone, kNone}, 10500000},
            {{500000, kNone, 2000000, kNone, kNone}, -1500001},
            {{7, 90000000, kNone, kNow - 14999999, k10s}, 80000000},
            {{7, 90000000, kNone, kNow - 15000000, k10s}, 70000000},
            {{7, 5000000, kNone, kNow - 15000000, k10s}, 0},
            {{7, 90000000, kNone, kNow + 6000000, k10s}, 90000000},
            {{7, 90000000, kNone, kNow + 16000000, k10s}, 100000000},
            {{7, 90000000, kNone, kNow - 25000000, 0}, 90000000},
            {{7, 90000000, kNone, kNow - 25000000, kNone}, 90000000},
            // What no playlist means but any may hold: sums wrap around and no division traps.
            {{2, kMax, 1, kNone, kNone}, kMin},
            {{7, 0, kNone, kNow + kMin, -1}, 0},
            {{7, 5, kNone, kMin, 10}, 9223372035854775805}};
    EXPECT_EQ(HLSTime(nullptr).getSegmentTimeUs(), -1);
    for (const auto& [values, expected] : cases) {
        const sp<AMessage> meta = new AMessage;
        for (size_t i = 0; i < values.size(); ++i) {
            if (values[i] != kNone) meta->setInt64(keys[i], values[i]);
        }
        EXPECT_EQ(HLSTime(meta).getSegmentTimeUs(), expected) << values[1] << ", " << values[3];
    }
}
