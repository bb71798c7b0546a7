// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <media/stagefright/MetaData.h>

#include <string>

#include "TrackFormatKeys.h"

namespace orvel {

// A format in one line: the MIME type, then every other key that is set, by its four characters, with its
// number or with the size of its data.
inline std::string Describe(const android::sp<android::MetaData>& format) {
    using namespace android;
    const char* mime = "";
    format->findCString(kKeyMIMEType, &mime);
    std::string line = mime;
    for (const uint32_t key :
         {uint32_t{kKeyWidth}, uint32_t{kKeyHeight}, uint32_t{kKeyCodecId}, uint32_t{kKeySampleRate},
          uint32_t{kKeyChannelCount}, uint32_t{kKeyAVCC}, uint32_t{kKeyHVCC}, uint32_t{kKeyESDS},
          uint32_t{kKeyDuration}, uint32_t{kKeyThumbnailTime}}) {
        uint32_t type;
        const void* data;
        size_t size;
        if (!format->findData(key, &type, &data, &size)) continue;
        int32_t number = 0;
        int64_t value = static_cast<int64_t>(size);
        if (format->findInt32(key, &number)) value = number;
        format->findInt64(key, &value);
        for (int shift = 24; shift >= 0; shift -= 8)
            line += std::string(shift == 24 ? " " : "") + static_cast<char>(key >> shift);
        line += std::to_string(value);
    }
    return line;
}

}  // namespace orvel
