// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stddef.h>
#include <stdint.h>
#include <sys/types.h>

#include <atomic>
#include <mutex>

namespace orvel {

// A file's bytes as memory of this process, of which only one piece is kept resident: a reader that goes
// through a file of any size holds two megabytes of it. May be read from several threads at once.
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
    // not to be had, or lie where the reader has only just come to: making pages resident for a read or two
    // costs more than reading them. The destination may then hold a part of them.
    bool read(size_t offset, void* destination, size_t size);

  private:
    // That of a large page, which the processor finds at once, where the kernel keeps the file in such: it is
    // resident as a whole.
    static constexpr size_t kPieceBytes = size_t{2} << 20;
    static constexpr int kVisitsToEnter = 4;

    bool enter(size_t piece);

    const size_t mSize;
    uint8_t* mBytes;                // null: not mapped
    std::atomic<size_t> mPiece{0};  // the one that is kept
    std::mutex mLock;
    size_t mVisited = 0;  // another one that was asked for last, and how often running
    int mVisits = 0;
};

}  // namespace orvel
