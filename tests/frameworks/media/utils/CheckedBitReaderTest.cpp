// SPDX-License-Identifier: Apache-2.0
#include "CheckedBitReader.h"

#include "TestSupport.h"

TEST(CheckedBitReader, ReadsCodesAndFailsForGood) {
    const Bytes data = hex("A2 88 00 00 00 01 FF FF FF FE 00 00 00 00 FF FF FF FF FF");
    android::CheckedBitReader bits(data.data(), data.size());
    for (uint32_t expected : {0U, 1U, 4U, 7U, 0xFFFFFFFEU})
        EXPECT_EQ(bits.ue(), expected);
    EXPECT_FALSE(bits.failed());
    EXPECT_EQ(bits.ue(), 0U);  // 33 leading zero bits
    EXPECT_TRUE(bits.failed());
    EXPECT_EQ(bits.get(4), 0U);
}
