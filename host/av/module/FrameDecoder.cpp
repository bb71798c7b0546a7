// SPDX-License-Identifier: Apache-2.0
#include "FrameDecoder.h"

#include <string.h>

#include "Errors.h"
#include "FrameConverter.h"
#include "Parameters.h"

namespace orvel {
namespace {

// The libraries set some 4 KB aside for each NAL unit; no level of H.264 or H.265 allows a picture as many
// slices.
constexpr size_t kMostNalUnits = 4096;

bool HasTooManyNalUnits(ByteSpan sample) {
    if (sample.size == 0) return false;
    const uint8_t* at = sample.data;
    const uint8_t* end = sample.data + sample.size;
    for (size_t count = 0; count <= kMostNalUnits; ++count) {
        at = static_cast<const uint8_t*>(memmem(at, static_cast<size_t>(end - at), "\0\0\1", 3));
        if (at == nullptr) return false;
        at += 3;
    }
    return true;
}

}  // namespace

FrameDecoder::FrameDecoder(const StreamSetup& setup)
    : mHasNalUnits(setup.codec == Codec::kAvc || setup.codec == Codec::kHevc),
      mContext(OpenDecoder(setup)),
      mPacket(CheckAllocated(av_packet_alloc())),
      mFrame(CheckAllocated(av_frame_alloc())) {}

// The stream is ended behind the sample, which makes a decoder that waits for pictures shown earlier give it
// out.
PictureDecoder::Result FrameDecoder::decode(ByteSpan sample) {
    if (mHasNalUnits && HasTooManyNalUnits(sample)) return Result::kNothing;
    avcodec_flush_buffers(mContext.get());
    av_packet_unref(mPacket.get());
    FillPacket(sample, mPacket.get());
    mPacket->flags |= AV_PKT_FLAG_KEY;
    if (avcodec_send_packet(mContext.get(), mPacket.get()) < 0) return Result::kNothing;
    avcodec_send_packet(mContext.get(), nullptr);
    if (avcodec_receive_frame(mContext.get(), mFrame.get()) < 0) return Result::kNothing;
    bool isDamaged = mFrame->decode_error_flags != 0 || (mFrame->flags & AV_FRAME_FLAG_CORRUPT) != 0;
    return isDamaged ? Result::kDoubtful : Result::kPicture;
}

Picture FrameDecoder::picture(std::optional<PictureSize> box) {
    return ConvertFrame(*mFrame, box);
}

StreamFacts FrameDecoder::facts() const {
    StreamFacts facts;
    facts.reorderDepth = static_cast<size_t>(mContext->has_b_frames);
    facts.aspectWidth = mContext->sample_aspect_ratio.num;
    facts.aspectHeight = mContext->sample_aspect_ratio.den;
    facts.sampleRate = mContext->sample_rate;
    facts.channelCount = mContext->ch_layout.nb_channels;
    return facts;
}

}  // namespace orvel
