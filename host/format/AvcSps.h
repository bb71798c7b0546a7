// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>

#include "support/ByteSpan.h"

namespace orvel {

struct AvcPictureSize {
    uint32_t width = 0;
    uint32_t height = 0;
};

// The size of the pictures, cropped, that a sequence parameter set describes (H.264, 7.3.2.1.1); the unit
// with its header. Nothing when it cannot be read, or when they have none.
std::optional<AvcPictureSize> ParseAvcPictureSize(ByteSpan sps);

}  // namespace orvel
