// SPDX-License-Identifier: Apache-2.0
#include "support/TimeText.h"

#include <gtest/gtest.h>

#include <map>

namespace orvel {
namespace {

TEST(TimeText, ParsesSecondsAndClockTimes) {
    const std::map<const char*, int64_t> times = {
            {"90", 90000000},      {"12.345", 12345000},      {"0.0000019", 1},           {"-1.5", -1500000},
            {"75:01", 4501000000}, {"0:01:30.500", 90500000}, {"100:00:07", 360007000000}};
    for (const auto& [text, timeUs] : times)
        EXPECT_EQ(timeUs, ParseTime(text)) << text;
    for (const char* text : {"", "-", ".5", "5.", "1:60", "1:075", "1:2:3:4", ":30", "1:", "1 ", "0x10",
                             "1e3", "1:-2", "1000000001", "99999999999999999999"}) {
        EXPECT_FALSE(ParseTime(text)) << text;
    }
    EXPECT_EQ("-0.040", FormatSeconds(-40999));
}

}  // namespace
}  // namespace orvel
