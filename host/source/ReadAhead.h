// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace orvel {

// Decides how many blocks one request fetches. A miss that goes on where an earlier fetch ended belongs to a
// sequential reader, and each such miss doubles what is fetched: 1, 2, 4, ... blocks. Any other miss is a
// jump and fetches what it needs alone. Several readers are told apart, since the audio and the video track
// are read at different places of the same file.
class ReadAhead {
  public:
    // No request is for more than `maxBlocks` blocks.
    explicit ReadAhead(size_t maxBlocks) : maxBlocks_(maxBlocks) {}

    // How many blocks to fetch from `block` on, which is missing: at least 1, at most `available`, the
    // number of missing blocks in a row from there (>= 1). `needed` (>= 1) is how many the pending read
    // will use. The caller fetches exactly as many as are returned.
    size_t plan(int64_t block, size_t needed, size_t available);

  private:
    struct Reader {
        int64_t next = -1;  // the block after the latest fetch
        size_t window = 0;  // blocks
        uint64_t lastUse = 0;
    };

    Reader& readerAt(int64_t block);

    size_t maxBlocks_;
    uint64_t uses_ = 0;
    std::array<Reader, 4> readers_;
};

}  // namespace orvel
