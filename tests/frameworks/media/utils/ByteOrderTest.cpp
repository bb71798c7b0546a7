// SPDX-License-Identifier: Apache-2.0
#include "ByteOrder.h"

#include "TestSupport.h"

using namespace android;

TEST(ByteOrder, ReadsAtAnyAddressAndReverses) {
    for (size_t offset = 0; offset < 8; ++offset) {
        const Bytes bytes = Bytes(offset) + hex("92 A3 B4 C5 D6 E7 F8 09");
        const uint8_t* p = bytes.data() + offset;
        EXPECT_TRUE(U16_AT(p) == 0x92A3U && U16LE_AT(p) == 0xA392U) << offset;
        EXPECT_TRUE(U32_AT(p) == 0x92A3B4C5U && U32LE_AT(p) == 0xC5B4A392U) << offset;
        EXPECT_TRUE(U64_AT(p) == 0x92A3B4C5D6E7F809U && U64LE_AT(p) == 0x09F8E7D6C5B4A392U) << offset;
    }
    EXPECT_EQ(hton64(0x0102030405060788), 0x8807060504030201U);
    EXPECT_EQ(ntoh64(0x8807060504030201), 0x0102030405060788U);
}
