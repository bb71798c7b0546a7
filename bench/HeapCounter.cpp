// SPDX-License-Identifier: Apache-2.0
#include "HeapCounter.h"

#include <errno.h>
#include <malloc.h>

#include <algorithm>
#include <atomic>

// The allocator behind the functions that are replaced here.
extern "C" {
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* block, size_t size);
void* __libc_memalign(size_t alignment, size_t size);
void __libc_free(void* block);
}

namespace {

std::atomic<size_t> gLive{0};
std::atomic<size_t> gPeak{0};
std::atomic<size_t> gAllocations{0};

void* Allocated(void* block) {
    if (block == nullptr) return nullptr;
    const size_t size = malloc_usable_size(block);
    const size_t live = gLive.fetch_add(size) + size;
    size_t peak = gPeak;
    while (peak < live && !gPeak.compare_exchange_weak(peak, live)) {
    }
    ++gAllocations;
    return block;
}

}  // namespace

extern "C" {

void* malloc(size_t size) {
    return Allocated(__libc_malloc(size));
}

void* calloc(size_t count, size_t size) {
    return Allocated(__libc_calloc(count, size));
}

// A block that moves exists twice for a moment; counted is the one that stays, as the allocator may extend
// it.
void* realloc(void* block, size_t size) {
    const size_t before = block != nullptr ? malloc_usable_size(block) : 0;
    void* const moved = __libc_realloc(block, size);
    if (moved != nullptr || size == 0) gLive -= before;
    return Allocated(moved);
}

void* memalign(size_t alignment, size_t size) {
    return Allocated(__libc_memalign(alignment, size));
}

void* aligned_alloc(size_t alignment, size_t size) {
    return memalign(alignment, size);
}

int posix_memalign(void** block, size_t alignment, size_t size) {
    *block = memalign(alignment, size);
    return *block != nullptr ? 0 : ENOMEM;
}

void free(void* block) {
    if (block != nullptr) gLive -= malloc_usable_size(block);
    __libc_free(block);
}

}  // extern "C"

namespace orvel {

HeapCounter::HeapCounter() : mLive(gLive), mAllocations(gAllocations) {
    gPeak = mLive;
}

size_t HeapCounter::live() const {
    return std::max<size_t>(gLive, mLive) - mLive;
}

size_t HeapCounter::peak() const {
    return gPeak - mLive;
}

size_t HeapCounter::allocations() const {
    return gAllocations - mAllocations;
}

}  // namespace orvel
