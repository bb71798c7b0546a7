// SPDX-License-Identifier: Apache-2.0
#include "support/FlvTags.h"

namespace orvel {
namespace {

constexpr size_t kUnitHeader = 15;

enum : uint8_t { kAudio = 8, kVideo = 9 };
enum : uint8_t { kVp6 = 4, kVp6Alpha = 5, kAvc = 7, kHevc = 9, kAac = 10 };
constexpr uint8_t kVideoInfo = 5;

uint32_t BigEndian(const uint8_t* bytes, int count) {
    uint32_t value = 0;
    while (count-- > 0)
        value = (value & 0xFFFFFF) << 8 | *bytes++;
    return value;
}

bool HasPacketType(uint8_t codec) {
    return codec == kAvc || codec == kHevc;
}

size_t CodecHeaderSize(const FlvTag& tag, bool isAudio) {
    const uint8_t first = tag.data.data[0];
    if (isAudio) return first >> 4 == kAac ? 2 : 1;
    const uint8_t codec = first & 0xF;
    if (HasPacketType(codec) || codec == kVp6Alpha) return 5;
    return codec == kVp6 ? 2 : 1;
}

}  // namespace

std::optional<FlvTag> TagAt(ByteSpan file, int64_t slot) {
    if (slot < 0 || static_cast<size_t>(slot) > file.size) return {};
    const auto at = static_cast<size_t>(slot);
    if (file.size - at < kUnitHeader) return {};
    const uint8_t* header = file.data + at;
    const size_t size = BigEndian(header + 5, 3);
    if (size > file.size - at - kUnitHeader) return {};
    const uint32_t timestamp = BigEndian(header + 8, 3) | uint32_t{header[11]} << 24;
    return FlvTag{at, BigEndian(header, 4), header[4], timestamp, ByteSpan(header + kUnitHeader, size)};
}

std::vector<FlvTag> TagsFrom(ByteSpan file, int64_t slot) {
    std::vector<FlvTag> tags;
    while (const auto tag = TagAt(file, slot)) {
        tags.push_back(*tag);
        slot = static_cast<int64_t>(tag->end());
    }
    return tags;
}

int64_t FirstSlot(ByteSpan file) {
    return file.size < 9 ? 0 : static_cast<int32_t>(BigEndian(file.data + 5, 4));
}

bool IsDelivered(const FlvTag& tag, bool isAudio) {
    if (tag.type != (isAudio ? kAudio : kVideo) || !SampleOf(tag, isAudio)) return false;
    const uint8_t first = tag.data.data[0];
    if (isAudio) return first >> 4 != kAac || tag.data.data[1] == 1;
    return first >> 4 != kVideoInfo && (!HasPacketType(first & 0xF) || tag.data.data[1] == 1);
}

std::optional<FlvSample> SampleOf(const FlvTag& tag, bool isAudio) {
    if (tag.data.size == 0) return {};
    const size_t header = CodecHeaderSize(tag, isAudio);
    if (tag.data.size <= header) return {};
    uint64_t timeMs = tag.timestamp;
    if (!isAudio && HasPacketType(tag.data.data[0] & 0xF)) {
        const uint32_t composition = BigEndian(tag.data.data + 2, 3);
        // A negative offset is not applied; the sum is that of a 32-bit clock.
        if (composition < 0x800000) timeMs = (timeMs + composition) & 0xFFFFFFFF;
    }
    return FlvSample{ByteSpan(tag.data.data + header, tag.data.size - header),
                     static_cast<int64_t>(timeMs) * 1000, isAudio || tag.data.data[0] >> 4 == 1};
}

}  // namespace orvel
