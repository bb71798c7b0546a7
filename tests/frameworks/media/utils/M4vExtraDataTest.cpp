// SPDX-License-Identifier: Apache-2.0
#include "M4vExtraData.h"

#include "TestSupport.h"

TEST(PreProcessM4vExtraData, MeasuresTheHeadersBeforeTheFirstVop) {
    const std::pair<const char*, unsigned> cases[] = {{"00 00 01 B0 01 00 00 01 B5 09 00 00 01 B6 10", 10},
                                                      {"00 00 01 B0 01 00 00 01 B3 00", 5},
                                                      {"00 00 00 01 B6 00", 1},
                                                      {"11 22 00 00 01 20 33", 6},  // runs out past its limit
                                                      {"11 22 33 44 55 66", 2},
                                                      {"00 00 01 B6", 0}};
    for (const auto& [text, offset] : cases) {
        Bytes data = hex(text);
        EXPECT_EQ(android::PreProcessM4vExtraData(data.data(), static_cast<unsigned>(data.size())), offset)
                << text;
    }
    EXPECT_EQ(android::PreProcessM4vExtraData(nullptr, 100), 0U);
}
