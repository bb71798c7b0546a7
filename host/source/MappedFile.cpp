// SPDX-License-Identifier: Apache-2.0
#include "source/MappedFile.h"

#include <setjmp.h>
#include <signal.h>
#include <string.h>
#include <sys/mman.h>
#include <ucontext.h>

#include <algorithm>

namespace orvel {
namespace {

// Where the copy that this thread is making goes on when its source fails; null while none is made.
thread_local sigjmp_buf* volatile tRescue = nullptr;
struct sigaction gPrevious;

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

void InstallHandler() {
    struct sigaction action = {};
    action.sa_sigaction = OnBusError;
    action.sa_flags = SA_SIGINFO;
    sigemptyset(&action.sa_mask);
    sigaction(SIGBUS, &action, &gPrevious);
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

constexpr uintptr_t kLargePageBytes = uintptr_t{2} << 20;
constexpr size_t kReserveBytes = kLargePageBytes;

// How far behind an address the next one is at which a file's large pages cannot be mapped as such. They
// would be resident as a whole, also for a window of a part of them.
uintptr_t OffLargePages(const void* address) {
    const uintptr_t wanted = kLargePageBytes / 2;
    const uintptr_t past = reinterpret_cast<uintptr_t>(address) % kLargePageBytes;
    return past <= wanted ? wanted - past : wanted + kLargePageBytes - past;
}

}  // namespace

MappedFile::MappedFile(int descriptor, size_t size) : mSize(size), mReserve(nullptr), mBytes(nullptr) {
    std::fill(std::begin(mKept), std::end(mKept), kNoPiece);
    if (size == 0 || size > SIZE_MAX - kReserveBytes) return;
    void* const reserve = mmap(nullptr, size + kReserveBytes, PROT_NONE,
                               MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (reserve == MAP_FAILED) return;
    uint8_t* const bytes = static_cast<uint8_t*>(reserve) + OffLargePages(reserve);
    // A mapping that fails may have given up its part of the reserve, which may soon be somebody else's.
    if (mmap(bytes, size, PROT_READ, MAP_SHARED | MAP_FIXED, descriptor, 0) == MAP_FAILED) {
        munmap(reserve, size + kReserveBytes);
        return;
    }
    mReserve = reserve;
    mBytes = bytes;
    static std::once_flag installed;
    std::call_once(installed, InstallHandler);
}

MappedFile::~MappedFile() {
    if (mBytes != nullptr) munmap(mReserve, mSize + kReserveBytes);
}

bool MappedFile::read(size_t offset, void* destination, size_t size) {
    if (mBytes == nullptr) return false;
    auto* to = static_cast<uint8_t*>(destination);
    while (size > 0) {
        const size_t piece = offset / kPieceBytes;
        const size_t length = std::min(size, (piece + 1) * kPieceBytes - offset);
        if (mPiece.load(std::memory_order_relaxed) != piece && !enter(offset)) return false;
        if (!GuardedCopy(to, mBytes + offset, length)) return false;
        offset += length;
        to += length;
        size -= length;
    }
    FetchAhead(mBytes + offset, mSize - offset);
    return true;
}

// Into a piece that is not kept a reader that goes through the file comes over the border of one that is, or
// at the file's start.
bool MappedFile::isNearKept(size_t offset) const {
    const auto isNear = [offset](size_t kept) {
        const size_t begin = kept == kNoPiece ? 0 : kept * kPieceBytes;
        const size_t end = kept == kNoPiece ? 0 : begin + kPieceBytes;
        return offset < end + kNearBytes && begin < offset + kNearBytes;
    };
    return std::any_of(std::begin(mKept), std::end(mKept), isNear);
}

// Another thread may be copying out of the piece that is given back: its pages are then only fetched again.
bool MappedFile::enter(size_t offset) {
    const size_t piece = offset / kPieceBytes;
    const std::lock_guard<std::mutex> lock(mLock);
    size_t* const end = mKept + kPiecesKept;
    size_t* found = std::find(mKept, end, piece);
    if (found == end) {
        mVisits = piece == mVisited ? mVisits + 1 : 1;
        mVisited = piece;
        if (mVisits < kVisitsToEnter && !isNearKept(offset)) return false;
        --found;
        if (*found != kNoPiece)
            madvise(mBytes + *found * kPieceBytes, std::min(kPieceBytes, mSize - *found * kPieceBytes),
                    MADV_DONTNEED);
    }
    std::copy_backward(mKept, found, found + 1);
    mKept[0] = piece;
    mPiece.store(piece, std::memory_order_relaxed);
    return true;
}

}  // namespace orvel
