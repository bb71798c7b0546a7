// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "support/Dump.h"
#include "support/FlvBuilder.h"
#include "support/Session.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

// Every packet that another demultiplexer finds in each file, in order, against every sample. Where the two
// differ on purpose, the code says so and why; everything else must be equal.
namespace orvel {
namespace {

// Start codes back to lengths. A NAL unit never holds 00 00 01 and never ends on a zero byte.
Bytes WithLengths(Bytes data) {
    const Bytes startCode = {0, 0, 0, 1};
    auto prefix = std::search(data.begin(), data.end(), startCode.begin(), startCode.end());
    EXPECT_EQ(prefix, data.begin());
    while (prefix != data.end()) {
        const auto next = std::search(prefix + 4, data.end(), startCode.begin(), startCode.end());
        const Bytes length = U32(static_cast<uint32_t>(next - prefix - 4));
        std::copy(length.begin(), length.end(), prefix);
        prefix = next;
    }
    return data;
}

void ExpectSamplesAsPeerDoes(const std::string& file) {
    Session session(ReadProjectFile(file));
    AVFormatContext* peer = nullptr;
    const std::string path = ORVEL_SOURCE_DIR "/" + file;
    ASSERT_EQ(avformat_open_input(&peer, path.c_str(), av_find_input_format("flv"), nullptr), 0);
    // One packet a tag: its frame parsers would cut some anew and make up times.
    peer->flags |= AVFMT_FLAG_NOPARSE | AVFMT_FLAG_NOFILLIN;
    AVPacket* packet = av_packet_alloc();
    for (; av_read_frame(peer, packet) == 0; av_packet_unref(packet)) {
        const AVCodecParameters& codec = *peer->streams[packet->stream_index]->codecpar;
        if (codec.codec_id == AV_CODEC_ID_PCM_ALAW || codec.codec_id == AV_CODEC_ID_FLASHSV)
            continue;  // no track
        // The peer hands out what there is of a tag that the end of the file cuts short; this extractor does
        // not.
        if ((packet->flags & AV_PKT_FLAG_CORRUPT) != 0) continue;
        // By media type: it reads CodecID 9 as MPEG-4 part 2, which has the packet type and composition time
        // of AVC, but takes each of the tags for the start of another stream.
        auto* source = codec.codec_type == AVMEDIA_TYPE_VIDEO ? session.video() : session.audio();
        auto sample = source ? Read(source) : std::nullopt;
        ASSERT_TRUE(sample);
        if (codec.codec_id == AV_CODEC_ID_H264) sample->data = WithLengths(sample->data);
        // Both give the time of presentation; where a composition time is negative, which it is in none of
        // the files, this extractor would not.
        ASSERT_EQ(Describe(*sample), Describe({packet->pts * 1000, (packet->flags & AV_PKT_FLAG_KEY) != 0,
                                               Bytes(packet->data, packet->data + packet->size)}));
    }
    for (const auto& source : session.sources)
        EXPECT_FALSE(Read(source.get()));
    av_packet_free(&packet);
    avformat_close_input(&peer);
}

TEST(Libavformat, EveryPacketIsASample) {
    av_log_set_level(AV_LOG_QUIET);
    for (const std::string& file : ProjectFlvFiles()) {
        SCOPED_TRACE(file);
        ExpectSamplesAsPeerDoes(file);
    }
}

}  // namespace
}  // namespace orvel
