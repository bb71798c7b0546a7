// SPDX-License-Identifier: Apache-2.0
#include "flv/FileHeader.h"

#include <fmt/format.h>
#include <string.h>

#include <algorithm>

#include "Utils.h"

namespace orvel {
namespace {

constexpr ssize_t kSignatureSize = 3;
constexpr int64_t kVersionOffset = 3;
constexpr uint8_t kVersion = 1;

std::string FoundBytes(const uint8_t* bytes, ssize_t count) {
    if (count <= 0) return "the end of the file";
    std::string text;
    for (ssize_t i = 0; i < count; ++i)
        text += fmt::format("{}{:02x}", i > 0 ? " " : "", bytes[i]);
    return text;
}

}  // namespace

FileHeader ReadFileHeader(android::DataSource& source) {
    FileHeader header;
    uint8_t bytes[FileHeader::kSize] = {};
    ssize_t count = source.readAt(0, bytes, sizeof(bytes));
    if (count < kSignatureSize || memcmp(bytes, "FLV", kSignatureSize) != 0) {
        header.error = fmt::format("expected the FLV signature 46 4c 56, found {}",
                                   FoundBytes(bytes, std::min(count, kSignatureSize)));
    } else if (count < FileHeader::kSize) {
        header.errorOffset = count;
        header.error = "expected a header of 9 bytes, found the end of the file";
    } else if (bytes[kVersionOffset] != kVersion) {
        header.errorOffset = kVersionOffset;
        header.error = fmt::format("expected version 1, found {}", bytes[kVersionOffset]);
    }
    if (!header.error.empty()) return header;
    header.flags = bytes[FileHeader::kFlagsOffset];
    header.dataOffset = static_cast<int32_t>(android::U32_AT(bytes + FileHeader::kDataOffsetOffset));
    return header;
}

}  // namespace orvel
