// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <media/stagefright/DataSource.h>

#include <string>

namespace orvel {

// The first 9 bytes of a file (Adobe Flash Video File Format Specification 10.1, E.2).
struct FileHeader {
    static constexpr int64_t kSize = 9;
    static constexpr int64_t kFlagsOffset = 4;
    static constexpr int64_t kDataOffsetOffset = 5;
    static constexpr uint8_t kVideoFlag = 1, kAudioFlag = 4;

    uint8_t flags = 0;
    int64_t dataOffset = 0;  // as the file says; players take nothing below kSize

    // Why this is no FLV, as a clause, and the byte that it is about; empty when it is.
    std::string error;
    int64_t errorOffset = 0;

    int64_t firstSlot() const { return dataOffset < kSize ? kSize : dataOffset; }
};
FileHeader ReadFileHeader(android::DataSource& source);

}  // namespace orvel
