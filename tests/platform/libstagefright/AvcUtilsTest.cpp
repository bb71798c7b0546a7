// SPDX-License-Identifier: Apache-2.0
#include <media/stagefright/foundation/avc_utils.h>

#include <string>

#include <gmock/gmock.h>

using namespace android;
using testing::ElementsAre;

namespace {

std::vector<int32_t> dimensionsOf(const std::string& hex, int profile_idc = -1) {
    const sp<ABuffer> set = new ABuffer(hex.size() / 2);
    for (size_t i = 0; i < set->size(); ++i) {
        set->data()[i] = static_cast<uint8_t>(std::stoi(hex.substr(2 * i, 2), nullptr, 16));
    }
    if (profile_idc >= 0) set->data()[1] = static_cast<uint8_t>(profile_idc);
    std::vector<int32_t> sizes(4, -1);
    FindAVCDimensions(set, &sizes[0], &sizes[1], &sizes[2], &sizes[3]);
    return sizes;
}

const char kBaseline[] = "6742c00bd902c4ec0440000003004000000c83c50a92";
const char kMonochrome[] = "6764000cf36505067a8cc05b20000003002000000641e28532c0";

// Those of an encoder (libx264) first, then sets written field by field. Sizes and ratios are those that
// ffprobe reports; for separate planes, which it does not decode, those of H.264 (7-19) and (7-20).
const struct {
    const char* name;
    int32_t width, height, sarWidth, sarHeight;
    const char* hex;
} kCases[] = {
        {"baseline", 176, 144, 1, 1, kBaseline},
        {"cropped", 1920, 1080, 4, 3, "67640028acd940780227e5c384000003000400000300c83c60c658"},
        {"interlaced", 1440, 1080, 40, 33, "67640028acd9405a044fde0a20000003002000000643e2c5b2c0"},
        {"4:4:4", 317, 179, 16, 11, "67f4000c919b282833c91d82080000030008000003019078a14cb0"},
        {"4:2:2", 322, 179, 1, 1, "677a000dbcd941519e223b011000000300100000030320f1429960"},
        {"monochrome", 319, 181, 1, 1, kMonochrome},
        {"order count type 1, emulation prevention", 712, 564, 59, 54,
         "674d0028d000000300989680266286900b424644d7fe0076006c01"},
        {"scaling lists", 1278, 718, 118, 81,
         "67640028ad8742474a3870403e382020321010282620500bb1ffffffffffffffff84729005005be97ff00760051008"},
        {"separate planes", 637, 361, 7, 1024,
         "67f4002893a9470e0807c704040642020504c40a017600a0f8cb201405fa667ff80038200004"},
};

}  // namespace

TEST(FindAVCDimensions, ReadsSizeAndRatio) {
    for (const auto& c : kCases) {
        EXPECT_THAT(dimensionsOf(c.hex), ElementsAre(c.width, c.height, c.sarWidth, c.sarHeight)) << c.name;
    }
    for (const int profile_idc : {44, 83, 86, 100, 110, 118, 122, 128, 134, 135, 138, 139, 244}) {
        EXPECT_THAT(dimensionsOf(kMonochrome, profile_idc), ElementsAre(319, 181, 1, 1)) << profile_idc;
    }
}

TEST(FindAVCDimensionsDeathTest, AssertsOnWhatItCannotRead) {
    for (const size_t digits : {0u, 2u, 8u, 12u}) {
        EXPECT_DEATH(dimensionsOf(std::string(kBaseline, digits)), "F/ABitReader: .*CHECK_LE");
    }
    EXPECT_DEATH(dimensionsOf("6742c00b0000030000030080ffffff"), "avc_utils: .*leadingZeroBits.* 32 vs. 31");
    EXPECT_DEATH(dimensionsOf("6742c00bdfbe2ffff0"), "F/avc_utils: .*CHECK_GT.*pixels.* -8 vs. 0");
}
