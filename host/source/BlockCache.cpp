// SPDX-License-Identifier: Apache-2.0
#include "source/BlockCache.h"

#include <algorithm>
#include <iterator>

namespace orvel {

BlockCache::BlockCache(size_t capacity) : capacity_(std::max<size_t>(capacity, 1)) {}

const BlockCache::Block* BlockCache::find(int64_t number) {
    const auto place = places_.find(number);
    if (place == places_.end()) return nullptr;
    entries_.splice(entries_.begin(), entries_, place->second);
    return &entries_.front().bytes;
}

void BlockCache::insert(int64_t number, const uint8_t* data, size_t size) {
    if (entries_.size() < capacity_) {
        entries_.emplace_front();
    } else {
        places_.erase(entries_.back().number);
        entries_.splice(entries_.begin(), entries_, std::prev(entries_.end()));
    }
    Entry& entry = entries_.front();
    entry.number = number;
    entry.bytes.assign(data, data + size);
    places_[number] = entries_.begin();
}

}  // namespace orvel
