// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "support/ByteSpan.h"

namespace orvel {

// One compressed access unit, a sample of a track. The bytes belong to the reader that delivered it and hold
// until its next read.
struct AccessUnit {
    int64_t timeUs = 0;  // presentation time
    bool isSync = false;
    ByteSpan bytes;
};

}  // namespace orvel
