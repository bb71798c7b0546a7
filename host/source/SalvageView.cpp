// SPDX-License-Identifier: Apache-2.0
#include "source/SalvageView.h"

#include <string.h>

#include <algorithm>
#include <string_view>

#include "Utils.h"

namespace orvel {
namespace {

// Metadata stands at the head of a file, and an index of 2^16 key frames is no longer than this.
constexpr size_t kSearchedForNames = 1 << 20;
constexpr std::string_view kNames[] = {{"\0\x0d"
                                        "filepositions",
                                        15},
                                       {"\0\x08"
                                        "duration",
                                        10}};
constexpr size_t kLengthOfLength = 2;

constexpr off64_t kHeaderSize = 9;
constexpr uint8_t kSkippedType = 0xff;
constexpr off64_t kLongestTag = (1 << 24) - 1;
constexpr off64_t kShortestBridge = TagUnit::kHeadSize + 1;  // a tag without data would be an end

}  // namespace

SalvageView::SalvageView(const android::sp<android::DataSource>& source) : mSource(source) {
    if (mSource->getSize(&mSize) != android::OK) mSize = 0;
}

ssize_t SalvageView::readAt(off64_t offset, void* data, size_t size) {
    ssize_t count = mSource->readAt(offset, data, size);
    for (const Patch& patch : mPatches) {
        off64_t from = std::max(offset, patch.offset), to = std::min<off64_t>(offset + count, patch.end());
        if (from >= to) continue;
        memcpy(static_cast<uint8_t*>(data) + (from - offset),
               &patch.bytes[static_cast<size_t>(from - patch.offset)], static_cast<size_t>(to - from));
    }
    return count;
}

uint32_t SalvageView::flags() {
    uint32_t flags = mSource->flags();
    return mPatches.empty() ? flags : flags & ~static_cast<uint32_t>(kIsCachingDataSource);
}

bool SalvageView::mendNext() {
    if (mSlot < 0 && !findDataOffset()) return false;
    if (!findBreak()) return false;
    // Where bytes are missing, the last tag before the break takes up whole tags behind it.
    TagChain chain(*mSource, mSize);
    std::optional<int64_t> next = chain.resume(mLastSlot < 0 ? mSlot + 1 : mLastSlot + TagUnit::kHeadSize);
    if (next && *next < mSlot) mSlot = mLastSlot;
    while (next && *next - mSlot < kShortestBridge)
        next = chain.resume(*next + 1);
    if (!next) return false;
    if (mPatches.empty()) hideNames();
    bridge(*next);
    mLastSlot = -1;
    return true;
}

bool SalvageView::findDataOffset() {
    uint8_t header[kHeaderSize];
    if (mSource->readAt(0, header, sizeof(header)) != kHeaderSize) return false;
    mSlot = static_cast<int32_t>(android::U32_AT(header + 5));
    return mSlot >= 0;
}

bool SalvageView::findBreak() {
    TagChain chain(*mSource, mSize);
    std::optional<uint32_t> previousSize;
    while (std::optional<TagUnit> unit = chain.read(mSlot)) {
        if (chain.judge(*unit, previousSize) != TagChain::State::kSound) return true;
        previousSize = unit->dataSize + 11;
        mLastSlot = mSlot;
        mSlot = unit->next();
    }
    return false;
}

// From the break on, tags as long as they can be, so that even the last one is longer than a header.
void SalvageView::bridge(off64_t to) {
    while (mSlot < to) {
        off64_t left = to - mSlot - TagUnit::kHeadSize;
        off64_t size = left <= kLongestTag ? left : std::min(kLongestTag, left - kShortestBridge);
        auto byte = [size](int shift) { return static_cast<uint8_t>(size >> shift); };
        mPatches.push_back({mSlot + 4, {kSkippedType, byte(16), byte(8), byte(0), 0, 0, 0, 0, 0, 0, 0}});
        mSlot += TagUnit::kHeadSize + size;
        auto before = static_cast<uint32_t>(size) + 11;
        auto field = [before](int shift) { return static_cast<uint8_t>(before >> shift); };
        mPatches.push_back({mSlot, {field(24), field(16), field(8), field(0)}});
    }
}

void SalvageView::hideNames() {
    std::vector<uint8_t> head(kSearchedForNames);
    ssize_t count = mSource->readAt(0, head.data(), head.size());
    auto end = head.begin() + std::max<ssize_t>(count, 0);
    for (std::string_view name : kNames) {
        for (auto at = head.begin(); (at = std::search(at, end, name.begin(), name.end())) != end; ++at) {
            off64_t letter = (at - head.begin()) + static_cast<off64_t>(kLengthOfLength);
            mPatches.push_back({letter, {'-'}});
        }
    }
}

}  // namespace orvel
