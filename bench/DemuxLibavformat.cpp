// SPDX-License-Identifier: Apache-2.0
// demux_libavformat [--fastest] [--probe]: libavformat with its defaults; --fastest sets the flags NOPARSE
// and NOFILLIN, --probe opens with avformat_find_stream_info, as most programs do. Seeks always probe, since
// the streams are not known before.
#include <fmt/format.h>
#include <string.h>

#include <algorithm>

#include "Measurement.h"

extern "C" {
#include <libavformat/avformat.h>
}

namespace {

using namespace orvel;

bool fastest = false;
bool probing = false;

class Session {
  public:
    Session(const char* path, bool probe) : mPacket(av_packet_alloc()) {
        if (avformat_open_input(&mContext, path, nullptr, nullptr) < 0)
            Fail(path, "libavformat cannot open it");
        if (fastest) mContext->flags |= AVFMT_FLAG_NOPARSE | AVFMT_FLAG_NOFILLIN;
        if (probe && avformat_find_stream_info(mContext, nullptr) < 0)
            Fail(path, "libavformat finds no streams");
    }
    ~Session() {
        av_packet_free(&mPacket);
        avformat_close_input(&mContext);
    }
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    AVFormatContext* context() const { return mContext; }

    // The packet is valid until the next call; null at the end.
    const AVPacket* read() {
        av_packet_unref(mPacket);
        return av_read_frame(mContext, mPacket) < 0 ? nullptr : mPacket;
    }

    const AVCodecParameters& codec(const AVPacket* packet) const {
        return *mContext->streams[packet->stream_index]->codecpar;
    }

  private:
    AVFormatContext* mContext = nullptr;
    AVPacket* mPacket;
};

void Count(const Session& session, const AVPacket& packet, Tally* tally) {
    const AVCodecParameters& codec = session.codec(&packet);
    const TrackKind kind = codec.codec_type == AVMEDIA_TYPE_VIDEO ? kVideo : kAudio;
    const auto size = static_cast<size_t>(packet.size);
    if (codec.codec_id == AV_CODEC_ID_H264) {
        tally->addLengthPrefixed(kind, packet.data, size);
    } else {
        tally->add(kind, packet.data, size);
    }
    tally->addTime(kind, packet.pts, (packet.flags & AV_PKT_FLAG_KEY) != 0);
}

std::string Play(const char* path, bool withChecksums) {
    Tally tally(withChecksums);
    const double begin = Now();
    Session session(path, probing);
    const double opened = Now();
    while (const AVPacket* packet = session.read())
        Count(session, *packet, &tally);
    const double end = Now();
    return fmt::format(R"("open": {:.4g}, "read": {:.4g}, {})", opened - begin, end - opened, tally.json());
}

double Open(const char* path) {
    const double begin = Now();
    const Session session(path, probing);
    return Now() - begin;
}

// Until the packet of the stream comes, and then until one of every stream has come.
std::string Seek(const char* path, int count) {
    Session session(path, true);
    AVFormatContext* context = session.context();
    const int found = av_find_best_stream(context, AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
    const int stream = std::max(found, 0);
    SeekTargets targets(context->duration);
    Landings landings;
    std::vector<double> both;
    for (int i = 0; i < count; ++i) {
        const int64_t timeUs = targets.next();
        const double begin = WallNow();
        if (av_seek_frame(context, stream, timeUs / 1000, AVSEEK_FLAG_BACKWARD) < 0)
            Fail(path, "seek failed");
        const AVPacket* packet = session.read();
        bool otherCame = context->nb_streams < 2;
        for (; packet != nullptr && packet->stream_index != stream; packet = session.read())
            otherCame = true;
        if (packet == nullptr) Fail(path, "nothing after a seek");
        landings.add(WallNow() - begin, timeUs, packet->pts * 1000, (packet->flags & AV_PKT_FLAG_KEY) != 0);
        while (!otherCame && packet != nullptr && (packet = session.read()) != nullptr)
            otherCame = packet->stream_index != stream;
        both.push_back(WallNow() - begin);
    }
    return fmt::format(R"({}, "both": {})", landings.json(), JsonList(both));
}

}  // namespace

int main(int argc, char** argv) {
    av_log_set_level(AV_LOG_ERROR);
    for (; argc > 1 && strncmp(argv[1], "--", 2) == 0; ++argv, --argc) {
        fastest = fastest || strcmp(argv[1], "--fastest") == 0;
        probing = probing || strcmp(argv[1], "--probe") == 0;
    }
    return RunMeasurement(argc, argv, {Play, Open, Seek});
}
