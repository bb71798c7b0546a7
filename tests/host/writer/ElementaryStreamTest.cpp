// SPDX-License-Identifier: Apache-2.0
#include "HostFixture.h"
#include "writer/AdtsWriter.h"
#include "writer/AnnexBWriter.h"
#include "writer/TimestampFile.h"
#include "writer/WavWriter.h"

namespace orvel {
namespace {

using testing::ElementsAre;

class ElementaryStreamTest : public HostTest {
  protected:
    template <typename Writer>
    Bytes finish(Writer& writer) {
        writer.finish();
        mFile.commit();
        return read("out");
    }
    AtomicFile mFile{path("out"), AtomicFile::Existing::kKeep};
    TrackFormat mFormat;
};

TEST(Adts, Header) {
    AudioSpecificConfig config;
    config.objectType = kAacMain;
    config.frequencyIndex = 7;
    config.channelConfiguration = 6;
    EXPECT_THAT(MakeAdtsHeader(config, 4097), ElementsAre(0xff, 0xf1, 0x1d, 0x82, 0x01, 0x1f, 0xfc));
}

TEST(AnnexB, KeepsWhatFollowsADamagedLength) {
    struct Case {
        size_t lengthSize, left;
        Bytes sample, converted;
    };
    const Case cases[] = {{4, 0, {0, 0, 0, 2, 0x65, 9, 0, 0, 0, 1, 7}, {0, 0, 0, 1, 0x65, 9, 0, 0, 0, 1, 7}},
                          {4, 0, {0, 0, 0, 1, 0x65, 0, 0, 0, 9}, {0, 0, 0, 1, 0x65, 0, 0, 0, 9}},
                          {2, 0, {0, 2, 0x65, 9, 0, 0, 0, 1, 0x41}, {0, 0, 0, 1, 0x65, 9, 0, 0, 0, 1, 0x41}},
                          {4, 6, {0, 0, 0, 2, 7, 8, 0, 0, 0, 3, 5, 6}, {0, 0, 0, 1, 7, 8, 0, 0, 0, 1, 5, 6}},
                          {4, 2, {0, 0, 0, 2, 7, 8, 0, 0}, {0, 0, 0, 1, 7, 8}},
                          {4, 5, {0xff, 0xff, 0xff, 0xff, 5}, {0, 0, 0, 1, 5}}};
    for (const Case& c : cases) {
        Bytes out;
        EXPECT_EQ(c.left, AppendAnnexB(c.sample, c.lengthSize, &out)) << testing::PrintToString(c.sample);
        EXPECT_EQ(c.converted, out);
    }
}

TEST_F(ElementaryStreamTest, WavHeadTells8BitFromTheBytesPerSecond) {
    mFormat.sampleRate = 11025;
    mFormat.channelCount = 2;
    PcmWriter writer(mFormat, mFile);
    writer.write({1000000, true, Bytes(2205)});
    writer.write({1100000, true, Bytes(2204)});
    const Bytes fields = {16, 0, 0, 0, 1, 0, 2, 0, 0x11, 0x2b, 0, 0, 0x22, 0x56, 0, 0, 2, 0, 8, 0};
    const Bytes riffSize = {0x5e, 0x11, 0, 0}, dataSize = {0x39, 0x11, 0, 0};
    const Bytes expected =
            Text("RIFF") + riffSize + Text("WAVEfmt ") + fields + Text("data") + dataSize + Bytes(4410);
    EXPECT_EQ(expected, finish(writer));
}

TEST_F(ElementaryStreamTest, TimestampsAreSortedAndNeverGoBack) {
    TimestampFile timestamps(mFile);
    for (int64_t i = 0; i < 100; ++i)
        timestamps.add((i ^ 3) * 40000);
    EXPECT_EQ("", timestamps.remark());
    timestamps.add(0);
    std::string expected = "# timestamp format v2\n";
    for (int i = 0; i < 100; ++i)
        expected += std::to_string(i * 40) + (i == 67 ? "\n2680\n" : "\n");
    EXPECT_EQ(Text(expected), finish(timestamps));
    EXPECT_THAT(timestamps.remark(), testing::HasSubstr("1 timestamps go back"));
}

}  // namespace
}  // namespace orvel
