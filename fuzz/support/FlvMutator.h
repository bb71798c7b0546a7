// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>

// The fuzzer's own mutation of plain bytes.
extern "C" size_t LLVMFuzzerMutate(uint8_t* data, size_t size, size_t maxSize);

namespace orvel {

// A mutation of an FLV file in place, for LLVMFuzzerCustomMutator: now and then of its bytes, mostly of its
// tags, and then with DataSize and PreviousTagSize fields made right again, so that the change is reached by
// a walk along the chain. Result: the new size, at most maxSize.
size_t MutateFlv(uint8_t* data, size_t size, size_t maxSize, unsigned seed);

}  // namespace orvel
