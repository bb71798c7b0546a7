// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "support/MemorySource.h"

namespace orvel {

// The FLV files of samples/ and tests/data/, as paths in the project, sorted.
std::vector<std::string> ProjectFlvFiles();

// What the extractor makes of a file, as text: each track's format and samples, then where seeks land and
// what follows, on a local and on a caching source that deliver at most chunk bytes a read. Integers only, so
// it is the same on every machine.
std::string Dump(const Bytes& bytes, size_t chunk = std::numeric_limits<size_t>::max());

}  // namespace orvel
