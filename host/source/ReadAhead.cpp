// SPDX-License-Identifier: Apache-2.0
#include "source/ReadAhead.h"

#include <algorithm>

namespace orvel {

ReadAhead::Reader& ReadAhead::readerAt(int64_t block) {
    const auto known = std::find_if(readers_.begin(), readers_.end(),
                                    [block](const Reader& reader) { return reader.next == block; });
    if (known != readers_.end()) return *known;
    Reader& oldest =
            *std::min_element(readers_.begin(), readers_.end(),
                              [](const Reader& a, const Reader& b) { return a.lastUse < b.lastUse; });
    oldest.window = 0;
    return oldest;
}

size_t ReadAhead::plan(int64_t block, size_t needed, size_t available) {
    Reader& reader = readerAt(block);
    reader.window = reader.window == 0 ? 1 : std::min(reader.window * 2, maxBlocks_);
    const size_t count = std::min({std::max(reader.window, needed), maxBlocks_, available});
    reader.next = block + static_cast<int64_t>(count);
    reader.lastUse = ++uses_;
    return count;
}

}  // namespace orvel
