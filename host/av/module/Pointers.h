// SPDX-License-Identifier: Apache-2.0
#pragma once

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libswscale/swscale.h>
}

#include <memory>

namespace orvel {

// Owners of the libraries' objects.
struct AvDeleter {
    void operator()(AVCodecContext* p) const { avcodec_free_context(&p); }
    void operator()(AVFrame* p) const { av_frame_free(&p); }
    void operator()(AVPacket* p) const { av_packet_free(&p); }
    void operator()(AVFormatContext* p) const { avformat_free_context(p); }
    void operator()(SwsContext* p) const { sws_freeContext(p); }
    void operator()(AVIOContext* p) const {
        av_freep(&p->buffer);
        avio_context_free(&p);
    }
};
using CodecPointer = std::unique_ptr<AVCodecContext, AvDeleter>;
using FramePointer = std::unique_ptr<AVFrame, AvDeleter>;
using PacketPointer = std::unique_ptr<AVPacket, AvDeleter>;
using FormatPointer = std::unique_ptr<AVFormatContext, AvDeleter>;
using ScalerPointer = std::unique_ptr<SwsContext, AvDeleter>;
using IoPointer = std::unique_ptr<AVIOContext, AvDeleter>;

}  // namespace orvel
