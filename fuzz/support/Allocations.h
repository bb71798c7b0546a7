// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stddef.h>

namespace orvel {

// Bounds the heap while it is in scope: the allocation that makes the process hold more than so many bytes
// above what it held at the start is a finding. One at a time. Bounds nothing in a build without a
// sanitizer's allocator.
class AllocationBudget {
  public:
    explicit AllocationBudget(size_t bytes);
    ~AllocationBudget();
    AllocationBudget(const AllocationBudget&) = delete;
    AllocationBudget& operator=(const AllocationBudget&) = delete;
};

// What opening a file of so many bytes may hold: never more than the promised 16 MiB above its size, and for
// the small files of a fuzzer an amount in proportion to it.
size_t OpeningBudget(size_t fileSize);

}  // namespace orvel
