// SPDX-License-Identifier: Apache-2.0
#include "source/SalvageView.h"

#include <string.h>

#include <algorithm>

namespace orvel {
namespace {

// Metadata stands at the head of a file, and an index of more than 2^16 key frames is longer than this.
constexpr size_t kSearchedForIndex = 1 << 20;
constexpr char kIndexName[] = "filepositions";

}  // namespace

SalvageView::SalvageView(const android::sp<android::DataSource>& source) : mSource(source) {}

ssize_t SalvageView::readAt(off64_t offset, void* data, size_t size) {
    ssize_t count = mSource->readAt(offset, data, size);
    if (count <= 0) return count;
    mLastOffset = offset;
    mLastEnd = offset + count;
    if (!mHides) return count;
    auto* bytes = static_cast<uint8_t*>(data);
    off64_t from = std::max(offset, mFrom), to = std::min(mLastEnd, mTo);
    if (from < to) memset(bytes + (from - offset), 0xff, static_cast<size_t>(to - from));
    for (off64_t name : mIndexNames) {
        if (name >= offset && name < mLastEnd) bytes[name - offset] = '-';
    }
    return count;
}

uint32_t SalvageView::flags() {
    uint32_t flags = mSource->flags();
    return mHides ? flags & ~static_cast<uint32_t>(kIsCachingDataSource) : flags;
}

void SalvageView::hide(off64_t from, off64_t to) {
    if (!mHides) findIndexNames();
    mHides = true;
    mFrom = from;
    mTo = to;
}

void SalvageView::findIndexNames() {
    std::vector<char> head(kSearchedForIndex);
    ssize_t count = mSource->readAt(0, head.data(), head.size());
    if (count <= 0) return;
    const size_t length = strlen(kIndexName);
    auto end = head.begin() + count;
    for (auto at = head.begin(); at != end; ++at) {
        at = std::search(at, end, kIndexName, kIndexName + length);
        if (at == end) return;
        mIndexNames.push_back(at - head.begin());
    }
}

}  // namespace orvel
