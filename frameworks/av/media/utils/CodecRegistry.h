// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>

#include "Export.h"

namespace android {

// The MIME type of a stream by its codec tag, or null for an unknown tag.
//
// fourcc is a WAVE format tag when it is at most 0xFFFE, and otherwise a four-character code with its first
// character in the least significant byte, in upper, lower or mixed case.
//
// codecId may be null. Otherwise it receives the FFmpeg codec identifier of a known tag, 0 when the codec has
// none; an unknown tag leaves it untouched, so preset it. The text is one of the ORVEL_MEDIA_MIMETYPE_*
// constants: compare it by content, since several constants share one text.
ORVEL_API const char* GetMimeType(unsigned int fourcc, unsigned int* codecId);

// The FFmpeg codec identifier of a four-character code (first character in the least significant byte), as
// the device's libffmpeg_utils.so gives it, or -1 when that library or its function
// FfmpegGetCodecIDFromFourCC is missing. The code is passed on in the caller's letter case. Every call loads
// and unloads the library.
ORVEL_API int32_t getCodecIDFromFourCC(unsigned int fourcc);

// Whether the decoders of this MIME type need extra data: true for "video/mixer", "video/realvideo",
// "audio/realaudio", "audio/ape", "audio/wma" and "audio/adpcm" in exactly this case, false otherwise and for
// null.
ORVEL_API bool isNeedExtra(const char* mime);

}  // namespace android
