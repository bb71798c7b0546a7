// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <list>
#include <unordered_map>
#include <vector>

namespace orvel {

// The most recently used blocks of a file, by block number (byte offset / block size). Not thread-safe.
class BlockCache {
  public:
    using Block = std::vector<uint8_t>;

    // Keeps up to `capacity` blocks, at least one. Memory is taken as blocks arrive.
    explicit BlockCache(size_t capacity);

    // The block, which becomes the most recently used; null when it is not held. Valid until the next
    // insert.
    const Block* find(int64_t number);

    // Whether the block is held; the order of use stays as it is.
    bool contains(int64_t number) const { return places_.count(number) != 0; }

    // Takes a copy of `size` bytes as the block, which must not be held yet. The least recently used block
    // makes room for it.
    void insert(int64_t number, const uint8_t* data, size_t size);

  private:
    struct Entry {
        int64_t number;
        Block bytes;
    };

    size_t capacity_;
    std::list<Entry> entries_;  // most recently used first
    std::unordered_map<int64_t, std::list<Entry>::iterator> places_;
};

}  // namespace orvel
