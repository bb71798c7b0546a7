// SPDX-License-Identifier: Apache-2.0
#include <media/stagefright/foundation/ABitReader.h>

#include <gtest/gtest.h>

using android::ABitReader;

TEST(ABitReader, ReadsAcrossByteBoundaries) {
    const uint8_t data[] = {0xA5, 0x0F, 0x12, 0x34, 0x56, 0x78, 0x9A};
    ABitReader reader(data, sizeof(data));
    EXPECT_EQ(0x5u, reader.getBits(3));
    EXPECT_EQ(0x14u, reader.getBits(7));
    EXPECT_EQ(0x3C48D159u, reader.getBits(32));
    EXPECT_TRUE(reader.numBitsLeft() == 14 && reader.data() == data + 5);
    reader.skipBits(9);
    EXPECT_EQ(0x1Au, reader.getBits(5));
}

TEST(ABitReaderDeathTest, AssertsWhenBitsRunOut) {
    const uint8_t data[5] = {};
    ABitReader reader(data, sizeof(data));
    EXPECT_DEATH(reader.getBits(33), "F/ABitReader: .*CHECK_LE.*33 vs. 32");
    EXPECT_DEATH(reader.skipBits(41), "F/ABitReader: .*CHECK_LE.*41 vs. 40");
    reader.skipBits(40);
    EXPECT_DEATH(reader.getBits(1), "F/ABitReader: .*CHECK_LE.*1 vs. 0");
}
