// SPDX-License-Identifier: Apache-2.0
#include <utils/SortedVector.h>

#include <gtest/gtest.h>

using namespace android;

TEST(SortedVector, KeepsOrderAndLeavesEqualItemsAlone) {
    struct Row {
        bool operator<(const Row& other) const { return key < other.key; }
        int key;
        char value;
    };
    SortedVector<Row> rows;
    EXPECT_EQ(0, rows.add({5, 'a'}));
    EXPECT_EQ(0, rows.add({2, 'b'}));
    EXPECT_EQ(2, rows.add({9, 'c'}));
    EXPECT_EQ(1, rows.add({5, 'd'}));
    EXPECT_TRUE(rows.size() == 3 && rows[1].value == 'a');
    EXPECT_EQ(2, rows.indexOf({9, '?'}));
    for (const int absent : {1, 4, 10})
        EXPECT_EQ(NAME_NOT_FOUND, rows.indexOf({absent, '?'}));
}
