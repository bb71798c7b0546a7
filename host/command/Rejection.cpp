// SPDX-License-Identifier: Apache-2.0
#include "command/Rejection.h"

#include <fmt/format.h>
#include <string.h>

#include "Utils.h"

namespace orvel {
namespace {

constexpr int64_t kHeaderSize = 9;
constexpr int64_t kPreviousTagSizeSize = 4;
constexpr int64_t kTagHeaderSize = 11;
constexpr uint8_t kAudioTag = 8, kVideoTag = 9, kScriptTag = 18;

// Whoever gave the file a name wants to know what is wrong with it, not to wait for all of it.
constexpr int kMostTags = 10000;

uint32_t U24_AT(const uint8_t* bytes) {
    return static_cast<uint32_t>(bytes[0]) << 16 | android::U16_AT(bytes + 1);
}

std::string Expected(int64_t offset, const std::string& expected, const std::string& found) {
    return fmt::format("byte offset {}: expected {}, found {}", offset, expected, found);
}

std::string ExplainHeader(const uint8_t* header, ssize_t length) {
    if (length < 3 || memcmp(header, "FLV", 3) != 0) {
        std::string found = length <= 0 ? "the end of the file" : "";
        for (ssize_t i = 0; i < length && i < 3; ++i)
            found += fmt::format("{}{:02x}", i > 0 ? " " : "", header[i]);
        return Expected(0, "the FLV signature 46 4c 56", found);
    }
    if (length < kHeaderSize) return Expected(length, "a header of 9 bytes", "the end of the file");
    if (header[3] != 1) return Expected(3, "version 1", fmt::format("{}", header[3]));
    return "";
}

// What is wrong with the tag unit at an offset; when nothing is, *next is the one after it.
std::string ExplainTag(android::DataSource& source, int64_t size, int64_t offset, int64_t* next) {
    int64_t tag = offset + kPreviousTagSizeSize;
    uint8_t header[kTagHeaderSize];
    if (source.readAt(tag, header, sizeof(header)) < kTagHeaderSize) {
        return Expected(tag, "a tag header of 11 bytes", "the end of the file");
    }
    if (header[0] != kAudioTag && header[0] != kVideoTag && header[0] != kScriptTag) {
        return Expected(tag, "a tag of type 8, 9 or 18", fmt::format("type {}", header[0]));
    }
    int64_t dataSize = U24_AT(header + 1);
    int64_t data = tag + kTagHeaderSize;
    if (dataSize > size - data) {
        return Expected(data, fmt::format("{} bytes of tag data", dataSize), fmt::format("{}", size - data));
    }
    *next = data + dataSize;
    return "";
}

std::string ExplainTags(android::DataSource& source, int64_t size, int64_t first) {
    int64_t offset = first;
    for (int i = 0; i < kMostTags; ++i) {
        // A last PreviousTagSize, or nothing at all, is how a chain ends.
        if (i > 0 && offset + kPreviousTagSizeSize >= size) break;
        std::string why = ExplainTag(source, size, offset, &offset);
        if (!why.empty()) return why;
    }
    return Expected(first, "tags with audio or video of a supported codec", "none");
}

}  // namespace

std::string ExplainRejection(android::DataSource& source, int64_t size) {
    uint8_t header[kHeaderSize];
    ssize_t length = source.readAt(0, header, sizeof(header));
    std::string why = ExplainHeader(header, length);
    if (!why.empty()) return why;
    int64_t dataOffset = static_cast<int32_t>(android::U32_AT(header + 5));
    if (dataOffset < kHeaderSize) return Expected(5, "a data offset of 9", fmt::format("{}", dataOffset));
    return ExplainTags(source, size, dataOffset);
}

}  // namespace orvel
