// SPDX-License-Identifier: Apache-2.0
#include "ContainerMuxer.h"

#include <algorithm>
#include <numeric>

#include "Errors.h"
#include "Parameters.h"

extern "C" {
#include <libavutil/display.h>
}

namespace orvel {
namespace {

constexpr AVRational kMicroseconds = {1, 1000000};
constexpr AVRational kMilliseconds = {1, 1000};

// How long a transport stream may hold back sound to fill its packets: what ffmpeg takes. Without it each
// frame has packets of its own, and a file of sound is twice as large.
constexpr int kMuxerDelay = 7 * AV_TIME_BASE / 10;

// The libraries have it as an option of "mpegts".
constexpr char kM2ts[] = "m2ts";

// Where the libraries' defaults cost milliseconds: a transport stream's times are moved, and MP4 rounds a
// track's start down to the movie's unit.
constexpr struct {
    const char* format;
    const char* option;
    const char* value;
} kOptions[] = {
        {"mpegts", "mpegts_copyts", "1"},    {kM2ts, "mpegts_copyts", "1"},
        {kM2ts, "mpegts_m2ts_mode", "1"},    {"mp4", "movie_timescale", "90000"},
        {"mov", "movie_timescale", "90000"},
};

FormatPointer MakeContext(const std::string& format) {
    AVFormatContext* context = nullptr;
    const char* name = format == kM2ts ? "mpegts" : format.c_str();
    CheckAv(avformat_alloc_output_context2(&context, nullptr, name, nullptr), format);
    return FormatPointer(context);
}

}  // namespace

ContainerMuxer::ContainerMuxer(const std::string& format, const std::vector<MuxTrack>& tracks,
                               const MuxDetails& details, ByteSink& sink)
    : mStream(sink),
      mContext(MakeContext(format)),
      mPacket(CheckAllocated(av_packet_alloc())),
      mLastDecodingTimes(tracks.size(), AV_NOPTS_VALUE),
      mGiven(tracks.size()),
      mLosses(tracks.size()) {
    mContext->pb = mStream.get();
    mContext->flags |= AVFMT_FLAG_CUSTOM_IO | AVFMT_FLAG_BITEXACT;
    mContext->max_delay = kMuxerDelay;
    for (const MuxTrack& track : tracks)
        addStream(track, details);
    for (const auto& [name, text] : details.tags)
        av_dict_set(&mContext->metadata, name.c_str(), text.c_str(), 0);
    addChapters(format, details.chapters);
    writeHeader(format, details);
}

// The libraries own chapters as they own streams. Those of MP4 and QuickTime follow each other from 0 on.
void ContainerMuxer::addChapters(const std::string& format, std::vector<MuxDetails::Chapter> chapters) {
    if (chapters.empty()) return;
    bool beginAtZero = format == "mp4" || format == "mov";
    if (beginAtZero && chapters[0].startUs > 0)
        chapters.insert(chapters.begin(), {0, chapters[0].startUs, ""});
    auto size = chapters.size() * sizeof(AVChapter*);
    mContext->chapters = static_cast<AVChapter**>(CheckAllocated(av_mallocz(size)));
    for (size_t i = 0; i < chapters.size(); ++i) {
        auto* chapter = static_cast<AVChapter*>(CheckAllocated(av_mallocz(sizeof(AVChapter))));
        mContext->chapters[mContext->nb_chapters++] = chapter;
        chapter->id = static_cast<int64_t>(i) + 1;
        chapter->time_base = kMicroseconds;
        chapter->start = chapters[i].startUs;
        chapter->end = chapters[i].endUs;
        av_dict_set(&chapter->metadata, "title", chapters[i].title.c_str(), 0);
    }
}

void ContainerMuxer::addStream(const MuxTrack& track, const MuxDetails& details) {
    AVStream* stream = CheckAllocated(avformat_new_stream(mContext.get(), nullptr));
    FillParameters(track.setup, stream->codecpar);
    stream->time_base = kMilliseconds;
    if (stream->codecpar->codec_type == AVMEDIA_TYPE_VIDEO) {
        if (details.frameRateNumerator > 0)
            stream->avg_frame_rate = {details.frameRateNumerator, details.frameRateDenominator};
        if (details.rotationDegrees != 0) {
            // A tag is all that Matroska has for it here.
            av_dict_set_int(&stream->metadata, "rotate", details.rotationDegrees, 0);
            size_t size = 9 * sizeof(int32_t);
            uint8_t* matrix =
                    CheckAllocated(av_stream_new_side_data(stream, AV_PKT_DATA_DISPLAYMATRIX, size));
            av_display_rotation_set(reinterpret_cast<int32_t*>(matrix), details.rotationDegrees);
        }
    }
    // Which headers of the WAVE kind must state for it, equal or not.
    if (track.setup.codec == Codec::kAdpcm) {
        stream->codecpar->block_align = static_cast<int>(track.facts.firstSampleSize);
    }
    if (track.facts.aspectWidth <= 0 || track.facts.aspectHeight <= 0) return;
    stream->sample_aspect_ratio = {track.facts.aspectWidth, track.facts.aspectHeight};
    stream->codecpar->sample_aspect_ratio = stream->sample_aspect_ratio;
}

void ContainerMuxer::writeHeader(const std::string& format, const MuxDetails& details) {
    AVDictionary* options = nullptr;
    for (const auto& row : kOptions) {
        if (format == row.format) av_dict_set(&options, row.option, row.value, 0);
    }
    int result = avformat_init_output(mContext.get(), &options);
    av_dict_free(&options);
    // Which the library has taken away to put its own there. MP4 knows it by another name.
    for (const auto& [name, text] : details.tags) {
        if (name != MuxDetails::kEncoder) continue;
        const char* key = format == "mp4" ? "encoding_tool" : MuxDetails::kEncoder;
        av_dict_set(&mContext->metadata, key, text.c_str(), 0);
    }
    if (result >= 0) result = avformat_write_header(mContext.get(), nullptr);
    check(result, ExitCode::kDamaged, "the container cannot be begun");
}

void ContainerMuxer::write(const MuxSample& sample) {
    av_packet_unref(mPacket.get());
    FillPacket(sample.bytes, mPacket.get());
    mPacket->stream_index = static_cast<int>(sample.track);
    if (sample.isSync) mPacket->flags |= AV_PKT_FLAG_KEY;
    setTimes(sample, mPacket.get());
    ++mGiven[sample.track];
    writeInterleaved(mPacket.get());
}

// Null writes what has been put by. False when a sample was refused: this one, or one that was put by.
bool ContainerMuxer::writeInterleaved(AVPacket* packet) {
    int result = av_interleaved_write_frame(mContext.get(), packet);
    mStream.rethrow();
    if (result == AVERROR(ENOMEM)) throw std::bad_alloc();
    return result >= 0;
}

// Decoding times must rise, or, where the container allows it, not fall; a time of presentation may not lie
// before.
void ContainerMuxer::setTimes(const MuxSample& sample, AVPacket* packet) {
    AVRational unit = mContext->streams[sample.track]->time_base;
    int64_t step = (mContext->oformat->flags & AVFMT_TS_NONSTRICT) != 0 ? 0 : 1;
    int64_t& last = mLastDecodingTimes[sample.track];
    int64_t wanted = av_rescale_q(sample.timeUs, kMicroseconds, unit);
    packet->dts = av_rescale_q(sample.decodingTimeUs, kMicroseconds, unit);
    if (last != AV_NOPTS_VALUE) packet->dts = std::max(packet->dts, last + step);
    packet->pts = std::max(wanted, packet->dts);
    packet->duration = av_rescale_q(sample.durationUs, kMicroseconds, unit);
    last = packet->dts;
    if (av_rescale_q(packet->pts - wanted, unit, kMilliseconds) >= 1) ++mLosses[sample.track].moved;
}

void ContainerMuxer::finish() {
    // Each refusal takes one sample away; no more than were given can be left.
    for (uint64_t most = std::accumulate(mGiven.begin(), mGiven.end(), uint64_t{0});
         most > 0 && !writeInterleaved(nullptr); --most) {
    }
    check(av_write_trailer(mContext.get()), ExitCode::kInputOutput, "ending the container");
    avio_flush(mContext->pb);
    mStream.rethrow();
    for (size_t i = 0; i < mGiven.size(); ++i)
        mLosses[i].leftOut = mGiven[i] - static_cast<uint64_t>(mContext->streams[i]->nb_frames);
}

void ContainerMuxer::check(int result, ExitCode code, const char* what) {
    mStream.rethrow();
    if (result < 0) ThrowAvFailure(code, what, result);
}

}  // namespace orvel
