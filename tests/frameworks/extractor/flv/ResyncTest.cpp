// SPDX-License-Identifier: Apache-2.0
#include "support/OpenedReader.h"

using namespace orvel;

constexpr int64_t kNone = -1;

// The slot that a search from a position finds.
static int64_t Sync(OpenedReader& reader, int64_t from) {
    auto pos = static_cast<long>(from);
    if (!reader.flv.Sync(pos)) return kNone;
    EXPECT_EQ(reader.flv.mFile->mOffset, pos);
    return pos;
}

TEST(Resync, FindsTheNextRealTag) {
    FlvBuilder file;
    file.Tag(18, 0, Bytes(20000));
    const int64_t video = file.Video(0, 0x12, Hex("01020903000000000900000108080808"));
    const int64_t audio = file.Audio(10, 0x2F, {8, 0, 0, 0});
    const int64_t script = file.Tag(18, 20, {9, 9, 9});
    file.Tag(10, 30, Bytes(40));  // confirms nothing and is not found
    const int64_t second = file.Audio(40, 0x2F, Bytes(20));
    const int64_t last = file.Tag(9, 50, {});
    const auto size = static_cast<int64_t>(file.Finish().size());
    OpenedReader reader(file.Finish());
    const std::pair<int64_t, int64_t> cases[] = {{24, video},      {video, video},     {video + 5, audio},
                                                 {audio, audio},   {script, second},   {second + 5, last},
                                                 {last + 3, last}, {size - 14, kNone}, {size + 9, kNone},
                                                 {-1, kNone},      {-5000, kNone}};
    for (const auto& [from, expected] : cases)
        EXPECT_EQ(Sync(reader, from), expected) << from;
    reader.source->calls.clear();
    EXPECT_EQ(Sync(reader, size - 14), kNone);
    EXPECT_TRUE(reader.source->calls.empty());
    EXPECT_EQ(Sync(reader, 24), video);
    EXPECT_LE(reader.source->calls.size(), 6u);
    reader.source->failAt = 9;  // stops delivering on the way
    EXPECT_EQ(Sync(reader, 24), kNone);
    reader.source->failAt = 0;
    EXPECT_EQ(Sync(reader, 24), video);
}

TEST(Resync, CandidateNearTheEndIsTheLastTagOrHasAWholeHeaderBehindIt) {
    for (size_t trailer = 0; trailer <= 19; ++trailer) {
        FlvBuilder file;
        file.Audio(0, 0x2F, Bytes(30));
        file.Tag(9, 0, {});
        Bytes bytes = file.Finish();
        bytes.resize(bytes.size() - 19 + trailer);
        OpenedReader reader(bytes);
        EXPECT_EQ(Sync(reader, 9), trailer == 4 || trailer == 19 ? 9 : kNone) << trailer;
    }
}

TEST(Resync, CloseTimestampsMakeUpForAWrongPreviousTagSize) {
    const auto isAccepted = [](uint32_t first, uint32_t second, bool mismatch = true) {
        FlvBuilder file;
        file.Audio(first, 0x2F, Bytes(20));
        file.LieAboutPreviousSize(0);
        file.Audio(second, 0x2F, Bytes(20));
        OpenedReader reader(file.Finish());
        reader.flv.mPrevTagSizeMismatch = mismatch;
        return Sync(reader, 9) == 9;
    };
    EXPECT_TRUE(isAccepted(500, 500) && isAccepted(500, 1500) && isAccepted(0x7FFFFFFF, 0x80000000));
    EXPECT_FALSE(isAccepted(500, 1501) || isAccepted(500, 499) || isAccepted(0xFFFFFFF0, 9));
    EXPECT_FALSE(isAccepted(500, 540, false));
}

TEST(Resync, CachingSourceBelievesNoLargeOrEmptyTag) {
    const auto isAccepted = [](size_t dataSize, int32_t width, int32_t height, uint32_t flags = 4) {
        FlvBuilder file;
        file.Tag(9, 0, Bytes(dataSize, 0x20));
        file.Video(0, 0x22, Bytes(20));
        OpenedReader reader(file.Finish(), flags);
        reader.flv.mWidth = width;
        reader.flv.mHeight = height;
        return Sync(reader, 9) == 9;
    };
    EXPECT_TRUE(isAccepted(511999, 640, 480) && isAccepted(153599, 320, 240) &&
                isAccepted(1382399, 1280, 720));
    EXPECT_FALSE(isAccepted(512000, 640, 480) || isAccepted(153600, 320, 240) ||
                 isAccepted(1382400, 1280, 720));
    EXPECT_FALSE(isAccepted(0, 640, 480) || isAccepted(9, 0, 0) || isAccepted(9, 0, 0, 5));
    EXPECT_TRUE(isAccepted(1, 640, 480) && isAccepted(512000, 0, 0, 3) && isAccepted(0, 640, 480, 0));
}
