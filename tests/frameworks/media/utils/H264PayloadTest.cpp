// SPDX-License-Identifier: Apache-2.0
#include "H264Payload.h"

#include "TestSupport.h"

using namespace android;

TEST(H264Payload, TellsTheForms) {
    const std::pair<const char*, int> cases[] = {
            {"00 00 00 01 65", 0}, {"00 00 01 65", 1}, {"01 00 00 01", 1}, {"00 00 00", -1}, {"", -1}};
    for (const auto& [data, form] : cases) {
        EXPECT_EQ(CheckH264Type(hex(data).data(), static_cast<int>(hex(data).size())), form) << data;
    }
}

TEST(H264Payload, ReplacesLengthsByStartCodes) {
    const std::tuple<const char*, const char*, int> cases[] = {
            {"00 00 00 02 AA BB 00 00 00 01 CC", "00 00 00 01 AA BB 00 00 00 01 CC", 11},
            {"00 00 00 00 00 00 00 03 AA BB CC", "00 00 00 01 00 00 00 01 AA BB CC", 11},
            {"00 00 00 02 AA BB 00 00 00 02 CC", "00 00 00 01 AA BB 00 00 00 02 CC", 6},
            {"00 00 00 02 AA BB 00 00 00", "00 00 00 01 AA BB 00 00 00", 6},
            {"00 00 00 09 AA BB", "00 00 00 09 AA BB", 0},
            {"FF FF FF FC AA BB", "FF FF FF FC AA BB", 0},
            {"7F FF FF FF AA BB", "7F FF FF FF AA BB", 0}};
    for (const auto& [before, after, converted] : cases) {
        Bytes data = hex(before);
        EXPECT_EQ(H264DataPreprocess_IEC(data.data(), 77), 77);
        EXPECT_EQ(data, hex(before));
        EXPECT_EQ(H264DataPreprocess_AVC(data.data(), static_cast<int>(data.size())), converted) << before;
        EXPECT_EQ(data, hex(after)) << before;
    }
}
