// SPDX-License-Identifier: Apache-2.0
#include "FlvExtractor.h"

#include "support/FormatText.h"
#include "support/OpenedReader.h"
#include "support/Session.h"

using namespace orvel;
using namespace android;

static std::string Tracks(const sp<MediaExtractor>& extractor, uint32_t flags) {
    std::string tracks;
    for (size_t i = 0; i <= extractor->countTracks(); ++i) {
        const sp<MetaData> format = extractor->getTrackMetaData(i, flags);
        tracks += format == nullptr ? "end" : Describe(format) + ", ";
    }
    return tracks;
}

TEST(FlvExtractor, TrackTable) {
    const auto expect = [](const std::vector<Bytes>& video, const char* audio, const std::string& tracks) {
        FlvBuilder file;
        file.MetaData(4.25);
        file.Tag(8, 0, Hex(audio));
        for (const Bytes& data : video)
            file.Tag(9, 0, data);
        EXPECT_EQ(Tracks(createInstance(new MemorySource(file.Finish()), nullptr), 1), tracks);
    };
    const std::string times = " dura4250000 thbT1062000, ";
    const Bytes sps = Hex("190000000000000142010101600000030090000003000003005DA00280802D16");
    expect({Hex("1700000000") + AvcRecord()}, "AF001210",
           "video/avc widt320 heig240 avcc36" + times +
                   "audio/mp4a-latm srte44100 #chn2 esds24 dura4250000, end");
    expect({Hex("1400000A0305")}, "26FF",
           "video/ffmpeg widt80 heig48 cdid93 esds62" + times +
                   "audio/mpeg srte11025 #chn1 dura4250000, end");
    expect({Hex("190000000005"), sps, Hex("19000000000000014401C172B46240")}, "6B01",
           "video/hevc widt1280 heig720 hvcc64" + times + "end");
    expect({{0x13, 1}}, "0B01", "audio/raw srte22050 #chn2 dura4250000, end");
}

TEST(FlvExtractor, SharesItsFormatsAndLivesAsLongAsItsSources) {
    FlvBuilder file;
    file.Video(0, 0x12, Hex("0000840280"));
    file.Audio(10003, 0x26, {1});
    const sp<MemorySource> data = new MemorySource(file.Finish());
    {
        Session session(data);
        const std::string video = "video/ffmpeg widt320 heig240 cdid22 esds62 dura10003000";
        EXPECT_EQ(Tracks(session.extractor, 2), video + ", audio/mpeg srte11025 #chn1 dura10003000, end");
        session.extractor->getTrackMetaData(1, 1);
        EXPECT_EQ(Describe(session.sources[0]->getFormat()), video + " thbT2500000");
        EXPECT_EQ(session.extractor->getTrack(2), nullptr);
        session.extractor = nullptr;
        EXPECT_EQ(ReadAll(session.audio()).size(), 1u);
    }
    EXPECT_EQ(data->getStrongCount(), 1);
}
