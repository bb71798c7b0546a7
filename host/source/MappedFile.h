// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stddef.h>
#include <stdint.h>
#include <sys/types.h>

#include <atomic>
#include <mutex>

namespace orvel {

// A file's bytes as memory of this process, of which only a window is kept resident: a reader that goes
// through a file of any size holds a megabyte of it. May be read from several threads at once.
//
// A file that another program shortens, or a medium that fails, makes the kernel send SIGBUS to whoever
// touches a page that is not there any more. The first mapping installs a handler that turns this into a
// failed read; a SIGBUS from anywhere else still has the effect that it had before.
class MappedFile {
  public:
    // Maps the first size bytes of an open file, which may be closed afterwards. Maps nothing, and every read
    // fails, when the size is 0 or the file cannot be mapped.
    MappedFile(int descriptor, size_t size);
    ~MappedFile();
    MappedFile(const MappedFile&) = delete;
    MappedFile& operator=(const MappedFile&) = delete;

    // Copies size bytes at an offset; all of them must lie within the size given. False when some of them are
    // not to be had, or lie where the reader has only just jumped to: mapping pages for a read or two costs
    // more than reading them. The destination may then hold a part of them.
    bool read(size_t offset, void* destination, size_t size);

  private:
    static constexpr size_t kPieceBytes = size_t{512} << 10;
    static constexpr size_t kPiecesKept = 2;
    static constexpr int kVisitsToEnter = 16;
    static constexpr size_t kNearBytes = size_t{64} << 10;  // so far a reader may have passed over a border
    static constexpr size_t kNoPiece = SIZE_MAX;

    bool enter(size_t offset);
    bool isNearKept(size_t offset) const;

    const size_t mSize;
    void* mReserve;                        // the addresses among which the file is mapped
    uint8_t* mBytes;                       // null: not mapped
    std::atomic<size_t> mPiece{kNoPiece};  // that of the last read
    std::mutex mLock;
    size_t mKept[kPiecesKept];   // pieces that may be resident, the one entered last first
    size_t mVisited = kNoPiece;  // the piece not kept that was asked for last, and how often running
    int mVisits = 0;
};

}  // namespace orvel
