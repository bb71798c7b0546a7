// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Pointers.h"
#include "av/AvModule.h"

namespace orvel {

class FrameDecoder : public PictureDecoder {
  public:
    explicit FrameDecoder(const StreamSetup& setup);
    Result decode(ByteSpan sample) override;
    Picture picture(std::optional<PictureSize> box) override;

    // After the first sample; what the configuration alone tells is there from the start.
    StreamFacts facts() const;

  private:
    const bool mHasNalUnits;
    CodecPointer mContext;
    PacketPointer mPacket;
    FramePointer mFrame;
};

}  // namespace orvel
