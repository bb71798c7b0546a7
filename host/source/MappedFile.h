// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stddef.h>
#include <stdint.h>
#include <sys/types.h>

#include <atomic>
#include <bitset>
#include <mutex>

namespace orvel {

// A file's bytes as memory of this process, of which only one piece is kept resident: a reader that goes
// through a file of any size holds two megabytes of it. One that keeps jumping about, as a player does that
// seeks, comes to hold up to 512 MiB, but only of what the kernel has in large pages and takes back itself
// when memory is short. May be read from several threads at once.
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
    static constexpr int kVisitsToEnter = 4;    // running, until a reader is taken to go on there
    static constexpr int kVisitsToGiveUp = 64;  // the same while pieces are kept for one that jumps
    static constexpr int kJumpsToKeep = 8;      // until a reader is taken to jump about
    static constexpr size_t kMostKept = 256;

    bool isKept(size_t piece) const;
    void keep(size_t piece);
    bool enter(size_t offset);
    void jump();
    bool keepToo(size_t offset);
    bool isLargePage(size_t offset) const;
    void giveBack(size_t piece);
    void giveAllBack();

    const size_t mSize;
    uint8_t* mBytes;  // null: not mapped
    // Each piece has one place. Counted from 1; 0 is none.
    std::atomic<size_t> mKept[kMostKept] = {};
    std::mutex mLock;
    // Of the reads in pieces that are not kept:
    size_t mVisited = 0;            // the last one's piece
    int mVisits = 0;                // how many have been there running
    int mJumps = 0;                 // how many came from far away, up to kJumpsToKeep
    size_t mKeptToo = 0;            // for them, beside the one piece
    std::bitset<kMostKept> mSmall;  // in whose place a piece was found that is not one large page
};

}  // namespace orvel
