// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stddef.h>

namespace orvel {

// What the process holds on the heap. A program that links this has its malloc family, and so its operator
// new, counted. Sizes are the blocks' usable sizes, as the allocator rounds them. For glibc; not together
// with a sanitizer, which replaces the same functions.
class HeapCounter {
  public:
    // Figures of this object are relative to this moment. The peak is one for all objects: a new one resets
    // it.
    HeapCounter();

    size_t live() const;         // bytes allocated since and not freed; 0 when more was freed
    size_t peak() const;         // the most that live() has been
    size_t allocations() const;  // blocks asked for, a reallocation counted as one

  private:
    size_t mLive;
    size_t mAllocations;
};

}  // namespace orvel
