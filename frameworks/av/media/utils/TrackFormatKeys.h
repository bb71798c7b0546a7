// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>

namespace android {

// Keys of track formats that the platform does not have, as four-character codes like its own.
enum : uint32_t {
    // 'cdid', int32: FFmpeg codec identifier of a video track that is neither AVC nor HEVC. Absent when it
    // has none.
    kKeyCodecId = ('c' << 24) | ('d' << 16) | ('i' << 8) | 'd',
};

}  // namespace android
