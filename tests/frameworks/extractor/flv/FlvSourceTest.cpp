// SPDX-License-Identifier: Apache-2.0
#include "FlvSource.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/FlvBuilder.h"
#include "support/Session.h"

namespace orvel {
namespace {

using testing::ElementsAre;

const Bytes kAsc = {0x12, 0x10};

std::vector<std::pair<int64_t, Bytes>> TimesAndData(const std::vector<Sample>& samples) {
    std::vector<std::pair<int64_t, Bytes>> result;
    for (const Sample& sample : samples)
        result.emplace_back(sample.timeUs / 1000, sample.data);
    return result;
}

std::pair<int64_t, Bytes> At(int64_t ms, Bytes data) {
    return {ms, std::move(data)};
}

Bytes H263Header() {
    return {0x00, 0x00, 0x84, 0x02, 0x80};
}  // PictureSize 5: 320 by 240

TEST(FlvSourceRead, AacDeliversRawFramesOnly) {
    FlvBuilder file;
    file.Audio(0, 0xAF, Bytes{0} + kAsc);
    file.Audio(0, 0xAF, {1, 0xA1, 0xA2});
    file.Audio(10, 0xAF, {0, 0x12, 0x08});  // a configuration sent again
    file.Audio(20, 0xAF, {7, 0xEE});        // a packet type that does not exist
    file.Audio(23, 0xAF, {1, 0xB1});
    Session session(file.Finish());
    EXPECT_THAT(TimesAndData(ReadAll(session.audio())), ElementsAre(At(0, {0xA1, 0xA2}), At(23, {0xB1})));
}

TEST(FlvSourceRead, CompositionTimesAreAppliedWhenNotNegative) {
    FlvBuilder file;
    file.Nal(0, 0x17, 0, 0, AvcRecord());
    file.Nal(1000, 0x17, 1, 40, {0, 0, 0, 1, 0x65});
    file.Nal(1040, 0x27, 1, -40, {0, 0, 0, 1, 0x41});
    file.Nal(1080, 0x27, 1, 0x7FFFFF, {0, 0, 0, 1, 0x42});
    file.Nal(0xFFFFFFFF, 0x27, 1, 2, {0, 0, 0, 1, 0x43});  // wraps with the 32-bit clock
    Session session(file.Finish());
    std::vector<int64_t> times;
    for (const Sample& sample : ReadAll(session.video()))
        times.push_back(sample.timeUs);
    EXPECT_THAT(times, ElementsAre(1040000, 1040000, (1080 + 0x7FFFFF) * 1000LL, 1000));
}

TEST(FlvSourceRead, UnsignedMillisecondsBecomeMicroseconds) {
    FlvBuilder file;
    file.Audio(0, 0x2F, {0xAA});
    file.Audio(0xFFFFFFFE, 0x2F, {0xBB});
    Session session(file.Finish());
    EXPECT_EQ(ReadAll(session.audio()).back().timeUs, 0xFFFFFFFELL * 1000);
}

struct VideoCase {
    const char* name;
    Bytes configuration;  // payload of the first tag
    uint8_t header;       // of every tag
    Bytes stored;         // second tag's data behind its video header
    Bytes delivered;
};

TEST(FlvSourceRead, CodecHeaderBytesAreConsumed) {
    const Bytes vp6Key = {0x28, 0x40, 0x00, 0x00, 0x0F, 0x14};
    const VideoCase cases[] = {
            {"H.263", H263Header(), 0x12, {0x00, 0x00, 0x84, 0x55}, {0x00, 0x00, 0x84, 0x55}},
            {"VP6", Bytes{0x00} + vp6Key, 0x14, {0x99, 0xA1, 0xA2}, {0xA1, 0xA2}},
            {"VP6 with alpha", Bytes{0x00, 0, 0, 9} + vp6Key, 0x15, {0x99, 1, 2, 3, 0xB1}, {0xB1}},
    };
    for (const VideoCase& c : cases) {
        FlvBuilder file;
        file.Video(0, c.header, c.configuration);
        file.Video(40, c.header, c.stored);
        Session session(file.Finish());
        ASSERT_NE(session.video(), nullptr) << c.name;
        EXPECT_EQ(ReadAll(session.video()).back().data, c.delivered) << c.name;
    }
}

TEST(FlvSourceRead, AvcComesInStartCodeForm) {
    const Bytes prefixed = {0, 0, 0, 2, 0x65, 0xAA, 0, 0, 0, 1, 0x06};
    const Bytes startCodes = {0, 0, 0, 1, 0x65, 0xAA, 0, 0, 0, 1, 0x06};
    const Bytes annexB = {0, 0, 0, 1, 0x65, 0xBB};
    const Bytes damaged = {0, 0, 0, 2, 0x41, 0xAA, 0, 0, 0, 9, 0x06};
    struct {
        const char* name;
        Bytes first, second, firstDelivered, secondDelivered;
    } cases[] = {
            {"lengths", prefixed, prefixed, startCodes, startCodes},
            {"start codes: all unchanged", annexB, prefixed, annexB, prefixed},
            {"damaged length: cut there", prefixed, damaged, startCodes, {0, 0, 0, 1, 0x41, 0xAA}},
            {"no usable length: left alone", prefixed, {0, 0, 9, 9, 0x41}, startCodes, {0, 0, 9, 9, 0x41}},
    };
    for (const auto& c : cases) {
        FlvBuilder file;
        file.Nal(0, 0x17, 0, 0, AvcRecord());
        file.Nal(0, 0x17, 1, 0, c.first);
        file.Nal(40, 0x27, 1, 0, c.second);
        Session session(file.Finish());
        const auto samples = ReadAll(session.video());
        ASSERT_EQ(samples.size(), 2u) << c.name;
        EXPECT_EQ(samples[0].data, c.firstDelivered) << c.name;
        EXPECT_EQ(samples[1].data, c.secondDelivered) << c.name;
    }
}

TEST(FlvSourceRead, PassesOverTagsThatHoldNoSample) {
    FlvBuilder file;
    file.Nal(0, 0x17, 0, 0, AvcRecord());
    file.Video(0, 0x57, {0x00});               // video info frame
    file.Tag(18, 0, {0x02, 0x00, 0x01, 'x'});  // script data
    file.Tag(40, 0, {1, 2, 3});                // unknown type
    file.Video(0, 0x17, {});                   // no packet type
    file.Video(0, 0x17, {1, 0, 0});            // composition time cut short
    file.Nal(0, 0x17, 1, 0, {});               // no payload
    file.Nal(0, 0x17, 2, 0, {});               // end of sequence
    file.Nal(80, 0x27, 1, 0, {0, 0, 0, 1, 0x41});
    Session session(file.Finish());
    EXPECT_THAT(TimesAndData(ReadAll(session.video())), ElementsAre(At(80, {0, 0, 0, 1, 0x41})));
}

TEST(FlvSourceRead, EndStaysTheEndUntilStartOrSeek) {
    FlvBuilder file;
    file.Audio(0, 0x2F, {0xA0});
    file.Audio(26, 0x2F, {0xA1});
    file.Tag(8, 40, {});  // a tag without data ends a track's stream
    file.Audio(52, 0x2F, {0xA2});
    Session session(file.Finish());
    EXPECT_EQ(ReadAll(session.audio()).size(), 2u);
    EXPECT_FALSE(Read(session.audio()));
    EXPECT_TRUE(Read(session.audio(), 0));
    EXPECT_EQ(ReadAll(session.audio()).size(), 1u);
    session.audio()->start();
    EXPECT_EQ(ReadAll(session.audio()).size(), 2u);
}

// One track's failure is its own: the other's samples, cached or not, are still delivered.
TEST(FlvSourceRead, FailedPayloadDoesNotDisturbTheOtherTrack) {
    FlvBuilder file;
    file.Nal(0, 0x17, 0, 0, AvcRecord());
    file.Audio(0, 0x2F, {0xA0});
    file.Nal(0, 0x17, 1, 0, Bytes(5000, 0x11));
    file.Audio(26, 0x2F, {0xA1});
    android::sp<MemorySource> source = new MemorySource(file.Finish());
    Session session(source);
    EXPECT_TRUE(Read(session.audio()));
    source->calls.clear();
    source->failAt = 1;
    EXPECT_FALSE(Read(session.video()));
    source->failAt = 0;
    EXPECT_EQ(Read(session.audio())->data, Bytes{0xA1});
}

TEST(FlvSourceRead, TracksInterleaveInAnyOrder) {
    const Bytes bytes = ReadProjectFile("samples/avc_aac_index.flv");
    Session whole(bytes);
    const auto video = ReadAll(whole.video());
    const auto audio = ReadAll(whole.audio());
    for (uint32_t seed = 1; seed <= 3; ++seed) {
        Session mixed(bytes);
        std::vector<Sample> mixedVideo, mixedAudio;
        for (uint32_t state = seed; mixedVideo.size() < video.size() || mixedAudio.size() < audio.size();) {
            state = state * 1664525 + 1013904223;
            const bool wantVideo = (state >> 31) != 0;
            auto sample = Read(wantVideo ? mixed.video() : mixed.audio());
            if (sample) (wantVideo ? mixedVideo : mixedAudio).push_back(std::move(*sample));
        }
        EXPECT_TRUE(mixedVideo == video);
        EXPECT_TRUE(mixedAudio == audio);
    }
}

TEST(FlvSourceStep, GoesBackByPreviousTagSizes) {
    FlvBuilder file;
    file.Audio(0, 0x2F, {0xA0});
    file.Video(0, 0x12, H263Header());
    file.Audio(26, 0x2F, {0xA1, 0xA1});
    file.Audio(52, 0x2F, {0xA2, 0xA2, 0xA2});
    Session session(file.Finish());
    auto* source = static_cast<android::FlvSource*>(session.audio());
    for (int i = 0; i < 3; ++i)
        ASSERT_TRUE(source->advance(false));
    ASSERT_TRUE(source->advance(true));  // to the sample at 26
    ASSERT_TRUE(source->advance(true));  // over the video tag to the one at 0
    EXPECT_EQ(Read(source)->timeUs, 26000);
    for (int i = 0; i < 3; ++i)
        ASSERT_TRUE(source->advance(true));  // stays at the first one
    EXPECT_EQ(Read(source)->timeUs, 26000);
}

TEST(FlvSourceStep, ThumbnailIsTheLargestOfTheFirstTwentySyncSamples) {
    FlvBuilder file;
    for (uint32_t i = 0; i < 25; ++i) {
        file.Video(100 * i, 0x12, H263Header() + Bytes(i == 7 || i == 9 ? 40 : i, 0xCC));
        file.Video(100 * i + 50, 0x22, Bytes(500, 0xDD));
    }
    file.Video(2500, 0x12, H263Header() + Bytes(900, 0xCC));
    Session session(file.Finish());
    EXPECT_EQ(static_cast<android::FlvSource*>(session.video())->findThumbnailTimeUs(), 700000);
}

}  // namespace
}  // namespace orvel
