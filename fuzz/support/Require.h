// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdio.h>
#include <stdlib.h>

namespace orvel {

// What a harness asserts. A fuzzer takes the abort for a finding and keeps the input.
inline void Require(bool holds, const char* what) {
    if (holds) return;
    fprintf(stderr, "does not hold: %s\n", what);
    abort();
}

}  // namespace orvel
