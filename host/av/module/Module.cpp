// SPDX-License-Identifier: Apache-2.0
#include "ContainerMuxer.h"
#include "Errors.h"
#include "FrameDecoder.h"
#include "ImageEncoder.h"

namespace orvel {
namespace {

class Module : public AvModule {
  public:
    Module() { CatchLibraryLog(); }

    std::unique_ptr<PictureDecoder> openDecoder(const StreamSetup& setup) const override {
        return std::make_unique<FrameDecoder>(setup);
    }
    StreamFacts examine(const StreamSetup& setup, ByteSpan sample) const override {
        StreamFacts facts;
        try {
            FrameDecoder decoder(setup);
            decoder.decode(sample);
            facts = decoder.facts();
        } catch (const Failure&) {
            // A stream that does not decode can still be copied.
        }
        facts.firstSampleSize = sample.size;
        return facts;
    }
    std::vector<uint8_t> encode(const Picture& picture, ImageFormat format) const override {
        return EncodeImage(picture, format);
    }
    std::unique_ptr<Muxer> openMuxer(const std::string& format, const std::vector<MuxTrack>& tracks,
                                     const MuxDetails& details, ByteSink& sink) const override {
        return std::make_unique<ContainerMuxer>(format, tracks, details, sink);
    }
};

}  // namespace
}  // namespace orvel

extern "C" __attribute__((visibility("default"))) const orvel::AvModule* orvel_flv_av_module_2() {
    static const orvel::Module module;
    return &module;
}
