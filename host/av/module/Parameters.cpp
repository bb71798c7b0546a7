// SPDX-License-Identifier: Apache-2.0
#include "Parameters.h"

#include <limits.h>
#include <string.h>

#include "Errors.h"

namespace orvel {
namespace {

// A damaged header must not make the decoder ask for gigabytes; 8192 squared is four times what 4K wants.
constexpr int64_t kMostPixels = 8192 * 8192;

constexpr int kAacFrameSize = 1024;

void CopyConfiguration(const std::vector<uint8_t>& configuration, AVCodecParameters* parameters) {
    if (configuration.empty()) return;
    size_t padded = configuration.size() + AV_INPUT_BUFFER_PADDING_SIZE;
    parameters->extradata = static_cast<uint8_t*>(CheckAllocated(av_mallocz(padded)));
    parameters->extradata_size = static_cast<int>(configuration.size());
    memcpy(parameters->extradata, configuration.data(), configuration.size());
}

}  // namespace

AVCodecID CodecIdOf(const StreamSetup& setup) {
    switch (setup.codec) {
        case Codec::kAvc:
            return AV_CODEC_ID_H264;
        case Codec::kHevc:
            return AV_CODEC_ID_HEVC;
        case Codec::kSorensonH263:
            return AV_CODEC_ID_FLV1;
        case Codec::kVp6:
        case Codec::kVp6Alpha:
            return AV_CODEC_ID_VP6F;
        case Codec::kAac:
            return AV_CODEC_ID_AAC;
        case Codec::kMp3:
            return AV_CODEC_ID_MP3;
        case Codec::kPcm:
            return setup.pcmBits == 8 ? AV_CODEC_ID_PCM_U8 : AV_CODEC_ID_PCM_S16LE;
        case Codec::kAdpcm:
            return AV_CODEC_ID_ADPCM_SWF;
        case Codec::kUnknown:
            break;
    }
    return AV_CODEC_ID_NONE;
}

void FillParameters(const StreamSetup& setup, AVCodecParameters* parameters) {
    parameters->codec_id = CodecIdOf(setup);
    parameters->codec_type = avcodec_get_type(parameters->codec_id);
    parameters->width = setup.width;
    parameters->height = setup.height;
    parameters->sample_rate = setup.sampleRate;
    if (setup.channelCount > 0) av_channel_layout_default(&parameters->ch_layout, setup.channelCount);
    parameters->bits_per_coded_sample = av_get_bits_per_sample(parameters->codec_id);
    if (setup.codec == Codec::kPcm) parameters->block_align = setup.channelCount * setup.pcmBits / 8;
    if (setup.codec == Codec::kAac) parameters->frame_size = kAacFrameSize;
    CopyConfiguration(setup.configuration, parameters);
}

CodecPointer OpenDecoder(const StreamSetup& setup) {
    const AVCodec* codec = avcodec_find_decoder(CodecIdOf(setup));
    if (codec == nullptr) {
        throw Failure(ExitCode::kInputOutput, std::string("the codec library has no decoder for ") +
                                                      avcodec_get_name(CodecIdOf(setup)));
    }
    CodecPointer context(CheckAllocated(avcodec_alloc_context3(codec)));
    std::unique_ptr<AVCodecParameters, void (*)(AVCodecParameters*)> parameters(
            CheckAllocated(avcodec_parameters_alloc()),
            [](AVCodecParameters* p) { avcodec_parameters_free(&p); });
    FillParameters(setup, parameters.get());
    CheckAv(avcodec_parameters_to_context(context.get(), parameters.get()), "decoder");
    context->thread_count = 1;
    context->max_pixels = kMostPixels;
    CheckAv(avcodec_open2(context.get(), codec, nullptr), std::string(codec->name) + " decoder");
    return context;
}

void FillPacket(ByteSpan bytes, AVPacket* packet) {
    if (bytes.size > INT_MAX - AV_INPUT_BUFFER_PADDING_SIZE) {
        throw Failure(ExitCode::kDamaged, "a sample is too large");
    }
    CheckAv(av_new_packet(packet, static_cast<int>(bytes.size)), "packet");
    if (bytes.size > 0) memcpy(packet->data, bytes.data, bytes.size);
}

}  // namespace orvel
