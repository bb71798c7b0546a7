// SPDX-License-Identifier: Apache-2.0
#include "AvcConfiguration.h"

#include "support/OpenedReader.h"

using namespace orvel;

static std::string Size(Bytes record) {
    int32_t width = -1, height = -1;
    FlvReader::FindAvcPictureSize(record.data(), record.size(), &width, &height);
    return std::to_string(width) + "x" + std::to_string(height);
}

// Sets of an encoder (libx264): plain, cropped, interlaced, 4:4:4, monochrome, a few lines high; the longest
// one was written field by field, with scaling lists.
TEST(AvcConfiguration, SizeOfEachAndNoAssertionOnDamage) {
    const std::pair<std::string, const char*> sets[] = {
            {"6742C00BD902C4EC0440000003004000000C83C50A92", "176x144"},
            {"67640028ACD940780227E5C384000003000400000300C83C60C658", "1920x1080"},
            {"67640028ACD9405A044FDE0A20000003002000000643E2C5B2C0", "1440x1080"},
            {"67F4000C919B282833C91D82080000030008000003019078A14CB0", "317x179"},
            {"6764000CF36505067A8CC05B20000003002000000641E28532C0", "319x181"},
            {"6764000AACD944FE5C0440000003004000000C83C4896580", "64x8"},
            {"674D0028D000000300989680266286900B424644D7FE0076006C01", "712x564"},
            {"67640028AD8742474A3870403E382020321010282620500BB1FFFFFFFFFFFFFFFF84729005005BE97FF0076005100",
             "1278x718"}};
    for (const auto& [sps, size] : sets) {
        const Bytes length = U16(static_cast<uint32_t>(sps.size() / 2));
        const Bytes record = Hex("0142C00BFFE1") + length + Hex(sps) + Hex("01000468CE3C80");
        EXPECT_EQ(Size(record), size);
        for (size_t place = 0; place < record.size(); ++place) {
            const std::string cut = Size(Bytes(record.data(), record.data() + place));
            EXPECT_TRUE(cut == "0x0" || (cut == size && place > 12)) << cut << ' ' << place;
            Bytes damaged = record;
            while (++damaged[place] != record[place])
                EXPECT_NE(Size(damaged)[0], '-');
        }
    }
}
