// SPDX-License-Identifier: Apache-2.0
#include "support/Allocations.h"

#include <stdint.h>

#include <algorithm>
#include <atomic>

#include "support/Require.h"

extern "C" {
// Of <sanitizer/allocator_interface.h>, but weak: a build without sanitizers lacks them.
__attribute__((weak)) int __sanitizer_install_malloc_and_free_hooks(void (*)(const volatile void*, size_t),
                                                                    void (*)(const volatile void*));
__attribute__((weak)) size_t __sanitizer_get_allocated_size(const volatile void*);
}

namespace orvel {
namespace {

constexpr size_t kPromisedBytes = size_t{16} << 20;
constexpr size_t kConstantBytes = size_t{256} << 10;
constexpr size_t kBytesPerByte = 64;

std::atomic<bool> gCounts{false};
std::atomic<int64_t> gHeld{0};
int64_t gMost = 0;

void OnMalloc(const volatile void*, size_t size) {
    if (!gCounts) return;
    const auto bytes = static_cast<int64_t>(size);
    if (gHeld.fetch_add(bytes) + bytes <= gMost) return;
    gCounts = false;
    Require(false, "the heap stays within its budget");
}

void OnFree(const volatile void* block) {
    if (gCounts && block != nullptr) gHeld -= static_cast<int64_t>(__sanitizer_get_allocated_size(block));
}

}  // namespace

AllocationBudget::AllocationBudget(size_t bytes) {
    static const bool installed = __sanitizer_install_malloc_and_free_hooks != nullptr &&
                                  __sanitizer_install_malloc_and_free_hooks(OnMalloc, OnFree) > 0;
    gMost = static_cast<int64_t>(bytes);
    gHeld = 0;
    gCounts = installed;
}

AllocationBudget::~AllocationBudget() {
    gCounts = false;
}

size_t OpeningBudget(size_t fileSize) {
    return std::min(fileSize + kPromisedBytes, fileSize * kBytesPerByte + kConstantBytes);
}

}  // namespace orvel
