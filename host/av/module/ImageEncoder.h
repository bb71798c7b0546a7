// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "av/AvModule.h"

namespace orvel {

// The bytes of a file of that format.
std::vector<uint8_t> EncodeImage(const Picture& picture, ImageFormat format);

}  // namespace orvel
