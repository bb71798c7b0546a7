// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>

#include "support/Bits.h"
#include "support/OpenedReader.h"

using namespace orvel;
using namespace FlvReader;

static Bytes H263(uint32_t pictureSize, int bits = 0, uint32_t width = 0, uint32_t height = 0) {
    return Bits({{17, 1}, {13, 0x15EE}, {3, pictureSize}, {bits, width}, {bits, height}, {16, 0xFFFF}});
}

static Bytes Vp6(const char* prefix, uint32_t inter, uint32_t separated, uint32_t filter, const char* rest) {
    const Bytes header = Bits({{1, inter}, {6, 0x2A}, {1, separated}, {5, 0x1B}, {2, filter}, {1, 1}});
    return Hex(prefix) + header + Hex(rest);
}

// The stream that a key frame gives where an H.263 key frame of 160 by 120 follows, its start (1 = the key
// frame itself, 2 = what is behind it), and its configuration.
static void ExpectVideo(uint8_t header, const Bytes& payload, const std::string& expected, int start,
                        const Bytes& configuration = {}) {
    FlvBuilder file;
    file.Video(0, 0x22, H263(2));
    const int64_t slots[] = {0, file.Video(0, header, payload), file.Video(0, 0x12, H263(6))};
    const OpenedReader reader(file.Finish());
    EXPECT_TRUE(reader.ok);
    EXPECT_EQ(reader.Video(), expected + " @" + std::to_string(slots[start]));
    EXPECT_TRUE(configuration.empty() || reader.Configuration(kTrackVideo) == configuration);
}

TEST(Discovery, H263) {
    ExpectVideo(0x12, H263(0, 8, 200, 100), "FLV1 200x100", 1);
    ExpectVideo(0x12, H263(1, 16, 1000, 300), "FLV1 1000x300", 1,
                Hex("28000000E80300002C01000000000000464C5631") + Bytes(20));
    ExpectVideo(0x12, H263(2), "FLV1 352x288", 1), ExpectVideo(0x12, H263(3), "FLV1 176x144", 1);
    ExpectVideo(0x12, H263(4), "FLV1 128x96", 1), ExpectVideo(0x12, H263(5), "FLV1 320x240", 1);
    for (const Bytes& unusable : {H263(7), H263(0, 8, 0, 8), H263(1, 16, 8, 0), Hex("8000840280")})
        ExpectVideo(0x12, unusable, "FLV1 160x120", 2);
}

TEST(Discovery, Vp6) {
    ExpectVideo(0x14, Vp6("09", 0, 1, 3, "EEDD0305"), "FLV4 80x48", 1);
    ExpectVideo(0x14, Vp6("09", 0, 0, 0, "EEDD0305"), "FLV4 80x48", 1);
    ExpectVideo(0x14, Vp6("09", 0, 0, 2, "0305"), "FLV4 80x48", 1,
                Hex("2800000050000000300000000000000056503646") + Bytes(20));
    ExpectVideo(0x15, Vp6("09080706", 0, 0, 1, "0407"), "FLV4 112x64", 1,
                Hex("2800000070000000400000000000000056503641") + Bytes(20));
    ExpectVideo(0x14, Vp6("09", 0, 0, 1, "0000"), "FLV4 0x0", 1);
    ExpectVideo(0x14, Vp6("09", 1, 0, 1, "0305"), "FLV1 160x120", 2);
}

TEST(Discovery, AvcAndCodecsWithoutATrack) {
    ExpectVideo(0x17, Hex("01090909") + AvcRecord(), "H264 320x240", 2, AvcRecord());
    for (size_t size = 1; size <= 10; ++size)
        ExpectVideo(0x17, Bytes(4 + size, 0x67), "H264 0x0", 2, Bytes(size, 0x67));
    ExpectVideo(0x17, Hex("02000000"), "FLV1 160x120", 2);  // an end of sequence, no configuration
    ExpectVideo(0x13, H263(2), " 0x0", 1), ExpectVideo(0x16, H263(2), " 0x0", 1);
}

TEST(Discovery, HevcTakesThreeParameterSets) {
    const Bytes vps = Hex("0000000140010C01FFFF02200000030090000003000003003C959809");
    const Bytes sps = Hex("0000000142010101600000030090000003000003005DA00280802D16");
    const Bytes pps = Hex("000000014401C172B46240"), broken(sps.begin(), sps.begin() + 20);
    const auto expect = [](const std::vector<Bytes>& sets, const std::string& expected, bool found = false) {
        FlvBuilder file;
        for (const Bytes& set : sets)
            file.Nal(0, 0x19, 0, 0x010203, set);
        const std::string slot = std::to_string(file.Audio(0, 0x2F, {1}));
        const OpenedReader reader(file.Finish());
        EXPECT_EQ(reader.Video(), expected + (found ? slot : "0"));
        EXPECT_EQ(reader.Configuration(kTrackVideo).size(), found ? 23u + 29 + 29 + 12 : 0);
        EXPECT_EQ(reader.Audio(), "55 44100 stereo @" + slot);
    };
    expect({vps, sps, pps}, "HEVC 1280x720 @", true);
    expect({pps, sps}, " 0x0 @");
    expect({pps, vps, vps}, " 0x0 @");
    expect({pps, vps, broken}, " 0x0 @");
}

TEST(Discovery, FirstAudioTagDecides) {
    const auto expect = [](const char* data, const std::string& expected, int start = 0,
                           const char* configuration = "") {
        FlvBuilder file;
        file.Tag(8, 0, {});
        const int64_t slots[] = {file.Tag(8, 0, Hex(data)), file.Audio(0, 0x2F, {2})};
        const OpenedReader reader(file.Finish());
        EXPECT_TRUE(reader.ok);
        EXPECT_EQ(reader.Audio(), expected + " @" + std::to_string(slots[start]));
        EXPECT_EQ(reader.Configuration(3), Hex(configuration));
        EXPECT_EQ(reader.flv.GetStreamFormatType(3), 0u);
    };
    expect("0F", "1 44100 stereo"), expect("10", "5346 5512 mono"), expect("26FF", "55 11025 mono");
    expect("39", "1 22050 stereo"), expect("5E", "4c4c454e 8000 mono"), expect("6B", "4c4c454e 22050 stereo");
    for (const char* unsupported : {"4D", "7D", "8D", "9D", "BD", "CD", "DD", "ED", "FD"})
        expect(unsupported, "0 44100 stereo");
    expect("AF00121056", "ff 44100 stereo", 1, "121056"), expect("A60113", "ff 11025 mono", 1, "13");
    expect("AF00", "ff 44100 stereo", 1), expect("AF", "ff 44100 stereo", 1);
}

TEST(Discovery, OnlyOnMetaDataIsParsed) {
    const Bytes value = amf::EcmaArray({{"duration", amf::Number(12.5)}, {"r", {7}}});
    const auto expect = [](const Bytes& script, uint32_t duration) {
        FlvBuilder file;
        file.Tag(18, 0, script);
        file.Audio(0, 0x2F, {1});
        file.MetaData(-1, {300, 200}, {0.5});  // found as long as a stream is missing
        file.Video(0, 0x12, H263(3));
        file.MetaData(99);
        const OpenedReader reader(file.Finish());
        EXPECT_EQ(reader.flv.mDuration, duration);
        EXPECT_EQ(reader.flv.mKeyFramePositions.size() + reader.flv.mKeyFrameTimes.size(), 3u);
        EXPECT_EQ(reader.Video().substr(0, 13), "FLV1 176x144 ");
    };
    expect(amf::String("onMetaData") + value, 12500);
    for (const char* name : {"onMetaDatA", "onMetaDat", "onMetaDataX", ""})
        expect(amf::String(name) + value, 0);
    expect(Bytes{0x0C} + amf::Name("onMetaData") + value, 0);
}

TEST(Discovery, DurationFromTheLast65535Bytes) {
    const auto duration = [](size_t padding, uint32_t flags) {
        FlvBuilder file;
        file.Audio(200000, 0x2F, {});
        file.Tag(18, 300000, Bytes(padding));
        file.Video(90, 0x22, {5});
        file.Audio(120000, 0x2F, {1});
        file.Tag(18, 400000, {1, 2});
        file.Audio(110000, 0x2F, {});
        return OpenedReader(file.Finish(), flags).flv.mDuration;
    };
    EXPECT_EQ(duration(65437, 0), 200000u);  // the search starts at the first tag's type
    EXPECT_EQ(duration(65438, 0), 120000u);
    EXPECT_EQ(duration(65438, 4), 0u);  // caching and no picture size
}

TEST(Discovery, PreviousTagSizesAreCompared) {
    const auto mismatch = [](const std::vector<uint32_t>& sizes) {
        FlvBuilder file(13);
        for (size_t i = 0; i < sizes.size(); ++i) {
            file.LieAboutPreviousSize(sizes[i]);
            file.Audio(0, 0x2F, Bytes(1 + 2 * i));
        }
        return OpenedReader(file.Finish()).flv.mPrevTagSizeMismatch;
    };
    EXPECT_FALSE(mismatch({0, 13, 15}) || mismatch({99, 13, 15}));
    EXPECT_TRUE(mismatch({0, 0, 0}) && mismatch({0, 13, 0}) && mismatch({0, 2, 15}));
}

// Each byte of the file is a read of its own, so the n-th read is that of the n-th byte examined.
TEST(Discovery, SourceThatStopsDelivering) {
    FlvBuilder file;
    file.Tag(18, 0, Bytes(18));            // reads 10 to 24: too short to be examined
    file.Tag(18, 0, Bytes(19));            // 25 to 39, marker 40
    file.Audio(0, 0xAF, {0, 0x12, 0x10});  // 41 to 55, header 56, configuration 57 and 58
    file.Nal(0, 0x17, 0, 0, {1, 2, 3});    // 59 to 73, header 74, configuration 75 to 77
    std::vector<size_t> refused;
    for (size_t n = 1; n <= 90; ++n) {
        const android::sp<MemorySource> source = new MemorySource(file.Finish());
        source->chunk = 1;
        source->failAt = n;
        if (!OpenedReader(source).ok) refused.push_back(n);
        EXPECT_LT(source->calls.size(), 200u);
    }
    EXPECT_THAT(refused, testing::ElementsAre(1, 2, 3, 4, 40, 57, 58, 75, 76, 77));
}
