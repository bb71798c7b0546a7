// SPDX-License-Identifier: Apache-2.0
#include "remux/DecodingTimes.h"

#include <gtest/gtest.h>

namespace orvel {

TEST(DecodingTimes, ArePresentationTimesInOrderPutOffByTheDepth) {
    using Times = std::vector<int64_t>;
    struct Case {
        size_t declaredDepth;
        Times presented, decoded;
    };
    const Case cases[] = {
            {0, {100, 220, 140, 180, 340, 260, 300}, {60, 100, 140, 180, 220, 260, 300}},
            {1, {80, 240, 160, 120, 200, 280}, {0, 40, 80, 120, 160, 200}},  // deeper than declared
            {3, {100, 140, 180, 220}, {1, 34, 67, 100}},                     // no room for three of 40
            {2, {0, 33, 67, 100}, {-66, -33, 0, 33}},                        // nor for any
    };
    for (const Case& c : cases) {
        DecodingTimes times(c.declaredDepth, c.presented);
        for (size_t i = 0; i < c.presented.size(); ++i)
            EXPECT_EQ(c.decoded[i], times.next(c.presented[i])) << i << " of " << c.presented.size();
        EXPECT_EQ(-500, times.next(-500));  // too late for its depth: never after presentation
    }
}

}  // namespace orvel
