// SPDX-License-Identifier: Apache-2.0
#include "flv/TagChain.h"

#include <algorithm>

#include "flv/Integers.h"

namespace orvel {
namespace {

// Most damage is short, and a hostile file may have much of it.
constexpr size_t kFirstWindow = 4 * 1024, kLargestWindow = 64 * 1024;
constexpr int64_t kTagHeaderSize = 11;
constexpr int64_t kPreviousTagSizeSize = 4;
constexpr size_t kStreamIdOffset = 8;

// Tags that follow each other closely in a file with wrong PreviousTagSize fields.
constexpr uint32_t kLongestPauseMs = 10000;

}  // namespace

TagChain::TagChain(android::DataSource& source, int64_t size) : mSource(source), mSize(size) {}

std::vector<uint8_t> TagChain::bytes(int64_t offset, size_t count) {
    std::vector<uint8_t> bytes;
    if (offset < 0 || offset >= mSize) return bytes;
    if (static_cast<int64_t>(count) > mSize - offset) count = static_cast<size_t>(mSize - offset);
    bytes.resize(count);
    ssize_t got = mSource.readAt(offset, bytes.data(), count);
    bytes.resize(got > 0 ? static_cast<size_t>(got) : 0);
    return bytes;
}

std::optional<TagUnit> TagChain::read(int64_t slot) {
    TagUnit unit;
    uint8_t head[TagUnit::kHeadSize + sizeof(unit.data)] = {};
    if (slot < 0 || slot > mSize || mSize - slot < TagUnit::kHeadSize) return std::nullopt;
    if (mSource.readAt(slot, head, sizeof(head)) < TagUnit::kHeadSize) return std::nullopt;
    unit.slot = slot;
    unit.previousTagSize = android::U32_AT(head);
    unit.type = head[4];
    unit.dataSize = U24_AT(head + 5);
    unit.timestampMs = U24_AT(head + 8) | static_cast<uint32_t>(head[11]) << 24;
    unit.streamId = U24_AT(head + 12);
    std::copy(head + TagUnit::kHeadSize, std::end(head), unit.data.begin());
    return unit;
}

// Three bytes of StreamID that are zero tell a tag from garbage better than the 4 of PreviousTagSize, which
// some writers get wrong throughout. A tag that has neither must be confirmed by the next one.
TagChain::State TagChain::judge(const TagUnit& unit, std::optional<uint32_t> previousSize) {
    bool fits = unit.dataSize <= mSize - unit.dataOffset();
    bool follows = !previousSize || unit.previousTagSize == *previousSize;
    bool looksRight = unit.isKnown() && (unit.streamId == 0 || unit.streamId == mStreamId || follows);
    if (looksRight && fits && follows && !mStreamId) mStreamId = unit.streamId;
    if (looksRight && !fits) return State::kTruncated;
    if (looksRight) return unit.dataSize == 0 ? State::kEmpty : State::kSound;
    return fits && follows && unit.dataSize > 0 && isConfirmed(unit) ? State::kSound : State::kGarbage;
}

// By a PreviousTagSize behind it that fits, or, in files that have those wrong, by two tags behind it that
// look right.
bool TagChain::isConfirmed(const TagUnit& unit) {
    int64_t left = mSize - unit.next();
    if (left < 0) return false;
    if (left == 0) return unit.isKnown();
    if (left < TagUnit::kHeadSize) {
        std::vector<uint8_t> field = bytes(unit.next(), kPreviousTagSizeSize);
        return field.size() == kPreviousTagSizeSize &&
               android::U32_AT(field.data()) == unit.dataSize + kTagHeaderSize;
    }
    TagUnit before = unit;
    for (int i = 0; i < 2; ++i) {
        std::optional<TagUnit> next = read(before.next());
        if (!next) return i > 0;
        if (next->isKnown() && next->previousTagSize == before.dataSize + kTagHeaderSize) return true;
        bool looksRight = next->isKnown() && (next->streamId == 0 || next->streamId == mStreamId) &&
                          next->dataSize <= mSize - next->dataOffset() &&
                          next->timestampMs >= before.timestampMs &&
                          next->timestampMs - before.timestampMs <= kLongestPauseMs;
        if (!looksRight) return false;
        before = *next;
    }
    return true;
}

bool TagChain::mayBegin(const uint8_t* tag, int64_t slot) const {
    TagUnit unit;
    unit.type = tag[0];
    uint32_t streamId = U24_AT(tag + kStreamIdOffset);
    if (!unit.isKnown() || (streamId != 0 && streamId != mStreamId)) return false;
    uint32_t dataSize = U24_AT(tag + 1);
    return dataSize > 0 && dataSize <= mSize - slot - TagUnit::kHeadSize;
}

std::optional<int64_t> TagChain::resume(int64_t from) {
    size_t size = kFirstWindow;
    for (int64_t slot = from; mSize - slot >= TagUnit::kHeadSize;) {
        const std::vector<uint8_t> window = bytes(slot, size);
        if (window.size() < TagUnit::kHeadSize) return std::nullopt;
        size_t last = window.size() - TagUnit::kHeadSize;
        for (size_t i = 0; i <= last; ++i) {
            if (!mayBegin(&window[i] + kPreviousTagSizeSize, slot + static_cast<int64_t>(i))) continue;
            std::optional<TagUnit> unit = read(slot + static_cast<int64_t>(i));
            if (unit && isConfirmed(*unit)) return unit->slot;
        }
        slot += static_cast<int64_t>(last) + 1;
        size = std::min(2 * size, kLargestWindow);
    }
    return std::nullopt;
}

}  // namespace orvel
