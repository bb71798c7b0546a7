// SPDX-License-Identifier: Apache-2.0
#include "FrameDecoder.h"

#include "Errors.h"
#include "FrameConverter.h"
#include "Parameters.h"

namespace orvel {

FrameDecoder::FrameDecoder(const StreamSetup& setup)
    : mContext(OpenDecoder(setup)),
      mPacket(CheckAllocated(av_packet_alloc())),
      mFrame(CheckAllocated(av_frame_alloc())) {}

// The stream is ended behind the sample, which makes a decoder that waits for pictures shown earlier give it
// out.
PictureDecoder::Result FrameDecoder::decode(ByteSpan sample) {
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
