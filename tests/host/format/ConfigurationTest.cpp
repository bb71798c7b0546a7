// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>

#include "format/AudioConfiguration.h"
#include "format/ParameterSets.h"
#include "support/FlvBuilder.h"

namespace orvel {
namespace {

using testing::ElementsAre;

TEST(ParameterSets, OfAvcInOrderAsFarAsTheyAreWhole) {
    const Bytes record = {1, 100, 0, 31, 0xfd, 0xe2, 0, 3, 0x67, 1, 2, 0, 2, 0x67, 3, 1, 0, 2, 0x68, 4};
    for (size_t size = 0; size <= record.size(); ++size) {
        size_t whole = size >= 20 ? 3 : size >= 15 ? 2 : size >= 11 ? 1 : 0;
        auto sets = ParseAvcConfiguration(ByteSpan(record).first(size)).value_or(ParameterSets());
        EXPECT_EQ(whole, sets.units.size()) << size;
    }
    auto sets = ParseAvcConfiguration(record);
    EXPECT_THAT(sets->units, ElementsAre(Bytes{0x67, 1, 2}, Bytes{0x67, 3}, Bytes{0x68, 4}));
    EXPECT_EQ("High@3.1", sets->profile + "@" + sets->level);
    EXPECT_EQ(2u, sets->nalLengthSize);
}

TEST(ParameterSets, GetTheirEmulationPreventionBack) {
    const Bytes original = {0x42, 1, 1, 0x60, 0, 0, 3, 0, 0x90, 0, 0, 3, 0, 0, 3, 0, 0x5d, 0xa0};
    const Bytes stripped = {0x42, 1, 1, 0x60, 0, 0, 0, 0x90, 0, 0, 0, 0, 0, 0x5d, 0xa0};
    EXPECT_EQ(original, RestoreEmulationPrevention(stripped + Bytes{0x5d, 0, 0}));
}

TEST(AudioSpecificConfig, TellsCoreAndExtension) {
    // Frequency index, rate, output rate, channel configuration.
    const std::tuple<Bytes, std::string, std::vector<uint32_t>> cases[] = {
            {{0x12, 0x08, 0x56, 0xe5, 0x00}, "LC", {4, 44100, 44100, 1}},
            {{0x13, 0x90, 0x56, 0xe5, 0xa0}, "HE-AAC", {7, 22050, 44100, 2}},
            {{0xeb, 0x8a, 0x08, 0x00}, "HE-AACv2", {7, 22050, 44100, 1}},
            {{0x17, 0x80, 0x2e, 0xe0, 0x30}, "LC", {6, 24000, 24000, 6}}};
    for (const auto& [bytes, profile, facts] : cases) {
        auto c = ParseAudioSpecificConfig(bytes).value();
        EXPECT_EQ(profile, c.profile());
        EXPECT_THAT(facts, ElementsAre(c.frequencyIndex, c.sampleRate, c.outputRate, c.channelConfiguration));
    }
}

}  // namespace
}  // namespace orvel
