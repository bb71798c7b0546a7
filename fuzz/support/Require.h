// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdio.h>
#include <stdlib.h>

#if defined(__has_feature)
#if __has_feature(memory_sanitizer)
#define ORVEL_MEMORY_SANITIZER  // what the standard library's own objects write counts as uninitialised
#endif
#endif

namespace orvel {

// What a harness asserts. A fuzzer takes the abort for a finding and keeps the input.
inline void Require(bool holds, const char* what) {
    if (holds) return;
    fprintf(stderr, "does not hold: %s\n", what);
    abort();
}

}  // namespace orvel
