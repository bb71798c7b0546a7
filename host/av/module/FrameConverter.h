// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>

#include "Pointers.h"
#include "picture/Picture.h"

namespace orvel {

// A decoded frame as a picture for a screen: see PictureDecoder::picture.
Picture ConvertFrame(const AVFrame& frame, std::optional<PictureSize> box);

// The other way, for encoders: a frame of the given format, of full range where it is YUV.
FramePointer MakeFrame(const Picture& picture, AVPixelFormat format);

}  // namespace orvel
