// SPDX-License-Identifier: Apache-2.0
#include "source/MappedFile.h"

#include <fcntl.h>
#include <setjmp.h>
#include <signal.h>
#include <string.h>
#include <sys/mman.h>
#include <ucontext.h>
#include <unistd.h>

#include <algorithm>

namespace orvel {
namespace {

// Where the copy that this thread is making goes on when its source fails; null while none is made.
thread_local sigjmp_buf* volatile tRescue = nullptr;
struct sigaction gPrevious;
int gPageMap = -1;  // of this process

// Leaves by a jump, so the signals that are blocked while a handler runs are let through again here. A signal
// that is not about such a copy goes to the handler of before: an access meets it when it is repeated on
// return, what another process has sent has to be sent on.
void OnBusError(int signal, siginfo_t* info, void* context) {
    if (tRescue != nullptr && info->si_code > 0) {
        pthread_sigmask(SIG_SETMASK, &static_cast<ucontext_t*>(context)->uc_sigmask, nullptr);
        siglongjmp(*tRescue, 1);
    }
    sigaction(signal, &gPrevious, nullptr);
    if (info->si_code <= 0) raise(signal);
}

// Nothing between the two points that a jump connects has a destructor or is kept in a variable.
bool GuardedCopy(void* destination, const void* source, size_t size) {
    sigjmp_buf rescue;
    if (sigsetjmp(rescue, 0) != 0) {
        tRescue = nullptr;
        return false;
    }
    tRescue = &rescue;
    std::atomic_signal_fence(std::memory_order_seq_cst);
    memcpy(destination, source, size);
    std::atomic_signal_fence(std::memory_order_seq_cst);
    tRescue = nullptr;
    return true;
}

// A reader mostly goes on where it has read, and the processor's own prefetching ends with a page.
void FetchAhead(const uint8_t* bytes, size_t size) {
    constexpr size_t kFarthest = 2048;
    constexpr size_t kCacheLineBytes = 64;
    for (size_t at = 0; at < std::min(size, kFarthest); at += kCacheLineBytes)
        __builtin_prefetch(bytes + at);
}

// Whether touching a byte would not fault; false as well where the kernel does not tell.
bool IsResident(const uint8_t* byte) {
    constexpr uint64_t kPresent = uint64_t{1} << 63;
    static const auto pageBytes = static_cast<uintptr_t>(sysconf(_SC_PAGESIZE));
    uint64_t entry = 0;
    if (gPageMap < 0) return false;
    const auto at = static_cast<off_t>(reinterpret_cast<uintptr_t>(byte) / pageBytes * sizeof(entry));
    return pread(gPageMap, &entry, sizeof(entry), at) == ssize_t{sizeof(entry)} && (entry & kPresent) != 0;
}

// In a sandbox it may tell the same of all pages. The one given has not been touched.
void OpenPageMap(const uint8_t* untouched) {
    const uint8_t onStack = 0;
    gPageMap = open("/proc/self/pagemap", O_RDONLY | O_CLOEXEC);
    if (gPageMap < 0 || (IsResident(&onStack) && !IsResident(untouched))) return;
    close(gPageMap);
    gPageMap = -1;
}

void PrepareProcess(const uint8_t* mapping) {
    OpenPageMap(mapping);
    struct sigaction action = {};
    action.sa_sigaction = OnBusError;
    action.sa_flags = SA_SIGINFO;
    sigemptyset(&action.sa_mask);
    sigaction(SIGBUS, &action, &gPrevious);
}

}  // namespace

MappedFile::MappedFile(int descriptor, size_t size) : mSize(size), mBytes(nullptr) {
    if (size == 0) return;
    void* const bytes = mmap(nullptr, size, PROT_READ, MAP_SHARED, descriptor, 0);
    if (bytes == MAP_FAILED) return;
    mBytes = static_cast<uint8_t*>(bytes);
    keep(0);
    static std::once_flag prepared;
    std::call_once(prepared, PrepareProcess, mBytes);
}

MappedFile::~MappedFile() {
    if (mBytes != nullptr) munmap(mBytes, mSize);
}

bool MappedFile::read(size_t offset, void* destination, size_t size) {
    if (mBytes == nullptr) return false;
    auto* to = static_cast<uint8_t*>(destination);
    while (size > 0) {
        const size_t piece = offset / kPieceBytes;
        const size_t length = std::min(size, (piece + 1) * kPieceBytes - offset);
        if (!isKept(piece) && !enter(offset)) return false;
        if (!GuardedCopy(to, mBytes + offset, length)) return false;
        offset += length;
        to += length;
        size -= length;
    }
    FetchAhead(mBytes + offset, mSize - offset);
    return true;
}

bool MappedFile::isKept(size_t piece) const {
    return mKept[piece % kMostKept].load(std::memory_order_relaxed) == piece + 1;
}

void MappedFile::keep(size_t piece) {
    mKept[piece % kMostKept].store(piece + 1, std::memory_order_relaxed);
}

// Two readers on either side of a border would take the piece from each other at every read, had one not to
// wait. Another thread may be copying out of a piece that is given back: its pages are then only fetched
// again.
bool MappedFile::enter(size_t offset) {
    const size_t piece = offset / kPieceBytes;
    const std::lock_guard<std::mutex> lock(mLock);
    if (piece > mVisited + 1 || piece + 1 < mVisited) jump();
    mVisits = piece == mVisited ? mVisits + 1 : 1;
    mVisited = piece;
    if (mJumps == kJumpsToKeep && keepToo(offset)) return true;
    if (mVisits < (mKeptToo == 0 ? kVisitsToEnter : kVisitsToGiveUp)) return false;
    if (piece > 0 && isKept(piece - 1)) mJumps = 0;
    giveAllBack();
    keep(piece);
    return true;
}

// The page map's first answers take the kernel several times as long as the later ones. One is had beforehand
// then, so that no jump pays for that and for the first fault as well.
void MappedFile::jump() {
    if (mJumps == kJumpsToKeep) return;
    if (++mJumps == kJumpsToKeep / 2) IsResident(mBytes);
}

// For a reader that jumps, to be there already when it comes back. In small pages each jump would cost
// faults, which take longer than reading.
bool MappedFile::keepToo(size_t offset) {
    constexpr size_t kBorderBytes = 64 << 10;
    constexpr size_t kSmallToStop = 16;
    const size_t piece = offset / kPieceBytes;
    const size_t place = piece % kMostKept;
    if (mKept[place] != 0 || mSmall[place] || mSmall.count() > mKeptToo + kSmallToStop) return false;
    if (!isLargePage(offset)) {
        mSmall.set(place);
        return true;  // what was asked for is resident all the same
    }
    // Two readers far apart jump at each read, but leave a piece behind for good when they come over a
    // border.
    if (piece > 0 && offset % kPieceBytes < kBorderBytes && isKept(piece - 1)) {
        giveBack(piece - 1);
    } else {
        ++mKeptToo;
    }
    keep(piece);
    return true;
}

// Then the fault of the first read makes all of it resident, else some pages around. The kernel looks at all
// pages from the one asked about to the piece's end.
bool MappedFile::isLargePage(size_t offset) const {
    const size_t begin = offset - offset % kPieceBytes;
    const bool isNearEnd = offset - begin >= kPieceBytes / 16 * 15;
    const size_t elsewhere = begin + (isNearEnd ? kPieceBytes / 2 - 1 : kPieceBytes - 1);
    uint8_t byte;
    return elsewhere < mSize && GuardedCopy(&byte, mBytes + offset, 1) && IsResident(mBytes + elsewhere);
}

void MappedFile::giveBack(size_t piece) {
    mKept[piece % kMostKept].store(0, std::memory_order_relaxed);
    const size_t begin = piece * kPieceBytes;
    madvise(mBytes + begin, std::min(kPieceBytes, mSize - begin), MADV_DONTNEED);
}

void MappedFile::giveAllBack() {
    for (std::atomic<size_t>& kept : mKept)
        kept.store(0, std::memory_order_relaxed);
    madvise(mBytes, mSize, MADV_DONTNEED);
    mKeptToo = 0;
}

}  // namespace orvel
