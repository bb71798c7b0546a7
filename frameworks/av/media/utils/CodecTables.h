// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>

namespace android {

// Internal to the library: not included by Utils.h. GetMimeType is the way in for everyone else.

// One known codec. The fields stand in the order in which a row is read: which tag, what it is, its number
// elsewhere. NOLINTNEXTLINE(clang-analyzer-optin.performance.Padding)
struct CodecMimeEntry {
    uint32_t tag;      // WAVE format tag, or four-character code with its first character least significant
    const char* mime;  // value of an ORVEL_MEDIA_MIMETYPE_* constant
    uint32_t codecId;  // FFmpeg codec identifier, 0 for none
};

// Rows are searched from the first on, and no tag occurs twice. Both tables are filled once, while the
// library is loaded, from the values that the MIME constants hold at that moment, and are read-only
// afterwards.
extern const CodecMimeEntry kWaveTagTable[27];
extern const CodecMimeEntry kFourCCTable[44];

}  // namespace android
