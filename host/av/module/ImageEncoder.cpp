// SPDX-License-Identifier: Apache-2.0
#include "ImageEncoder.h"

#include "Errors.h"
#include "FrameConverter.h"

namespace orvel {
namespace {

// Of the quantiser scale from 1, the best, to 31.
constexpr int kJpegQuality = 3;

struct ImageTraits {
    AVCodecID codec;
    AVPixelFormat pixels;
};

ImageTraits TraitsOf(ImageFormat format) {
    if (format == ImageFormat::kJpeg) return {AV_CODEC_ID_MJPEG, AV_PIX_FMT_YUVJ420P};
    return {AV_CODEC_ID_PNG, AV_PIX_FMT_RGB24};
}

CodecPointer OpenEncoder(const ImageTraits& traits, PictureSize size) {
    const AVCodec* codec = avcodec_find_encoder(traits.codec);
    if (codec == nullptr)
        throw Failure(ExitCode::kInputOutput, "the codec library cannot write this image format");
    CodecPointer context(CheckAllocated(avcodec_alloc_context3(codec)));
    context->width = size.width;
    context->height = size.height;
    context->pix_fmt = traits.pixels;
    context->time_base = {1, 1};
    context->thread_count = 1;
    context->flags |= AV_CODEC_FLAG_QSCALE | AV_CODEC_FLAG_BITEXACT;
    context->global_quality = FF_QP2LAMBDA * kJpegQuality;
    CheckAv(avcodec_open2(context.get(), codec, nullptr), "image encoder");
    return context;
}

}  // namespace

std::vector<uint8_t> EncodeImage(const Picture& picture, ImageFormat format) {
    ImageTraits traits = TraitsOf(format);
    CodecPointer context = OpenEncoder(traits, picture.size);
    FramePointer frame = MakeFrame(picture, traits.pixels);
    frame->quality = context->global_quality;
    CheckAv(avcodec_send_frame(context.get(), frame.get()), "image encoder");
    avcodec_send_frame(context.get(), nullptr);
    PacketPointer packet(CheckAllocated(av_packet_alloc()));
    CheckAv(avcodec_receive_packet(context.get(), packet.get()), "image encoder");
    return std::vector<uint8_t>(packet->data, packet->data + packet->size);
}

}  // namespace orvel
