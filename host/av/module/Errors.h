// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "support/Failure.h"

namespace orvel {

// Keeps the libraries from writing to standard error; their last line of error priority is kept for messages.
// Call once.
void CatchLibraryLog();

// "what (the library says: why)", why being the library's last line on this thread, or else the error's own
// text.
[[noreturn]] void ThrowAvFailure(ExitCode code, const std::string& what, int error);

// Throws for a negative result, and for null, which is what the libraries' allocations fail with.
void CheckAv(int result, const std::string& what);
template <typename Pointer>
Pointer CheckAllocated(Pointer pointer) {
    if (pointer == nullptr) throw std::bad_alloc();
    return pointer;
}

}  // namespace orvel
