// SPDX-License-Identifier: Apache-2.0
#include "support/OpenedReader.h"

using namespace orvel;
using namespace FlvReader;

TEST(TagHeaders, OfTheFile) {
    const auto expect = [](const Bytes& file, int64_t dataOffset) {
        const OpenedReader reader(file);
        EXPECT_TRUE(reader.ok);
        EXPECT_EQ(reader.flv.mDataOffset, dataOffset);
        EXPECT_EQ(reader.Video() + reader.Audio(), " 0x0 @00 0 mono @0");
    };
    expect(Hex("464C56010500000009"), 9);
    expect(Hex("464C5601FF01020304") + Bytes(90, 9), 0x01020304);
    expect(Hex("464C560100FFFFFFFF") + Bytes(90, 9), -1);
    expect(Hex("464C560105"), 0x05050505);
    for (const char* other : {"464C56020500000009", "464C56000500000009", "464C57010500000009", "464C56", ""})
        EXPECT_FALSE(OpenedReader(Hex(other)).ok) << other;
}

// Reads the unit header behind the file header and gives its fields, in hexadecimal, and the bytes consumed.
static std::string ReadHeader(OpenedReader& reader, size_t chunk, size_t failAt = 0) {
    reader.Rewind(kBehindHeader, chunk, failAt);
    Tag tag = {};
    std::ostringstream text;
    text << reader.flv.ReadTag(tag) << std::hex << ' ' << tag.mPreviousTagSize << ' ' << +tag.mTagType << ' '
         << tag.mDataSize << ' ' << tag.mTimestamp << ' ' << tag.mStreamId << ' '
         << reader.flv.mFile->mOffset - kBehindHeader;
    return text.str();
}

TEST(TagHeaders, OfATag) {
    const auto expect = [](const char* header, size_t dataBytes, const char* expected) {
        OpenedReader reader(HeaderWithoutTags() + Hex(header) + Bytes(dataBytes));
        for (const size_t chunk : {1u, 4u, 4096u})
            EXPECT_EQ(ReadHeader(reader, chunk), expected);
    };
    expect("010203040800000A00000102000000", 14, "1 1020304 8 a 2000001 0 f");
    expect("010203040800000A00000102000000", 10, "1 1020304 8 a 2000001 0 f");
    expect("010203040800000A00000102000000", 9, "0 1020304 8 a 2000001 0 f");
    expect("00000000280000000A0B0CFD111213", 0, "1 0 28 0 fd0a0b0c 111213 f");
    expect("0000000709000000000000000000", 0, "0 0 0 0 0 0 0");
    OpenedReader failing(HeaderWithoutTags() + Hex("000000010900000200000300000004") + Bytes(6));
    EXPECT_EQ(ReadHeader(failing, 1, 6), "0 1 9 90909 9090909 90909 5");  // the last byte, repeated
    EXPECT_EQ(ReadHeader(failing, 1), "1 1 9 2 3 4 f");
}

TEST(TagHeaders, OfTheCodecs) {
    OpenedReader reader(HeaderWithoutTags() + Hex("2619"));
    reader.Rewind(kBehindHeader);
    AudioTag audio;
    VideoTag video;
    EXPECT_TRUE(reader.flv.ReadTag(audio) && reader.flv.ReadTag(video));
    EXPECT_TRUE(audio.mSoundFormat == 2 && audio.mSoundRate == 1 && audio.mSoundSize == 1 &&
                !audio.mSoundType);
    EXPECT_TRUE(video.mFrameType == 1 && video.mCodecId == 9);
    EXPECT_FALSE(reader.flv.ReadTag(audio) || reader.flv.ReadTag(video));
}
