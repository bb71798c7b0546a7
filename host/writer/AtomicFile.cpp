// SPDX-License-Identifier: Apache-2.0
#include "writer/AtomicFile.h"

#include <errno.h>
#include <fcntl.h>
#include <fmt/format.h>
#include <limits.h>
#include <signal.h>
#include <stdio.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>

#include "support/Failure.h"

namespace orvel {
namespace {

constexpr size_t kBufferSize = 64 * 1024;

// What a signal handler may look at: plain memory, and a flag that is set last and cleared first. The program
// writes a media file and a timestamp file for each of two tracks at most; the rest is margin.
constexpr size_t kSlots = 16;
struct Pending {
    std::atomic<bool> inUse{false};
    std::atomic<bool> isNamed{false};
    char path[PATH_MAX];
};
Pending gPending[kSlots];
constexpr int kEndingSignals[] = {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGXFSZ, SIGXCPU};

extern "C" void RemovePendingAndEnd(int signalNumber) {
    for (Pending& pending : gPending) {
        if (pending.isNamed) unlink(pending.path);
    }
    signal(signalNumber, SIG_DFL);
    raise(signalNumber);
}

bool InstallHandlers() {
    for (int number : kEndingSignals) {
        struct sigaction action;
        if (sigaction(number, nullptr, &action) != 0 || action.sa_handler != SIG_DFL) continue;
        action.sa_handler = RemovePendingAndEnd;
        sigaction(number, &action, nullptr);
    }
    return true;
}

// Holds the ending signals back, so that none comes between a file's making and its entry in the list:
// entered before, a name could be another program's, and entered after, the file would stay behind. The
// program has no other thread of its own that could take them.
class SignalsHeldBack {
  public:
    SignalsHeldBack() {
        sigset_t ending;
        sigemptyset(&ending);
        for (int number : kEndingSignals)
            sigaddset(&ending, number);
        pthread_sigmask(SIG_BLOCK, &ending, &mBefore);
    }
    ~SignalsHeldBack() { pthread_sigmask(SIG_SETMASK, &mBefore, nullptr); }
    SignalsHeldBack(const SignalsHeldBack&) = delete;
    SignalsHeldBack& operator=(const SignalsHeldBack&) = delete;

  private:
    sigset_t mBefore;
};

size_t TakeSlot(const std::string& temporary) {
    static const bool installed = InstallHandlers();
    (void)installed;
    if (temporary.size() >= PATH_MAX) return kSlots;
    for (size_t i = 0; i < kSlots; ++i) {
        if (gPending[i].inUse.exchange(true)) continue;
        memcpy(gPending[i].path, temporary.c_str(), temporary.size() + 1);
        gPending[i].isNamed = true;
        return i;
    }
    return kSlots;
}

void FreeSlot(size_t slot) {
    if (slot >= kSlots) return;
    gPending[slot].isNamed = false;
    gPending[slot].inUse = false;
}

std::string FolderOf(const std::string& path) {
    std::string folder = std::filesystem::path(path).parent_path().string();
    return folder.empty() ? "." : folder;
}

// A name of its own length, so that a long file name cannot make it too long.
std::string TemporaryName(const std::string& path) {
    static std::atomic<int> counter{0};
    return fmt::format("{}/.orvel-flv-{}-{}.part", FolderOf(path), getpid(), counter++);
}

}  // namespace

AtomicFile::AtomicFile(const std::string& path, Existing existing)
    : mPath(path), mExisting(existing), mSlot(kSlots) {
    struct stat status;
    bool isThere = lstat(mPath.c_str(), &status) == 0;
    if (isThere && existing == Existing::kKeep) fail(EEXIST);
    // A device or a pipe would not be written to but replaced, for everybody who uses it.
    if (isThere && !S_ISREG(status.st_mode) && !S_ISLNK(status.st_mode))
        fail(S_ISDIR(status.st_mode) ? EISDIR : ENODEV);
    // A name that is taken was left by a process of the same number that could not clean up: the next one
    // then.
    int error = EEXIST;
    for (int attempt = 0; error == EEXIST && attempt < 100; ++attempt)
        error = openTemporary();
    if (error != 0) fail(error);
    mBuffer.reserve(kBufferSize);
}

int AtomicFile::openTemporary() {
    mTemporary = TemporaryName(mPath);
    SignalsHeldBack heldBack;
    mDescriptor = open(mTemporary.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (mDescriptor < 0) return errno;
    mSlot = TakeSlot(mTemporary);
    return 0;
}

AtomicFile::~AtomicFile() {
    discard();
}

void AtomicFile::write(ByteSpan bytes) {
    if (bytes.size > kBufferSize - mBuffer.size()) flush();
    if (bytes.size >= kBufferSize) {
        writeFully(bytes, mFlushed);
        mFlushed += bytes.size;
    } else {
        mBuffer.insert(mBuffer.end(), bytes.data, bytes.data + bytes.size);
    }
}

void AtomicFile::overwrite(uint64_t offset, ByteSpan bytes) {
    flush();
    writeFully(bytes, offset);
}

void AtomicFile::flush() {
    writeFully(mBuffer, mFlushed);
    mFlushed += mBuffer.size();
    mBuffer.clear();
}

void AtomicFile::writeFully(ByteSpan bytes, uint64_t offset) {
    while (bytes.size > 0) {
        ssize_t n = pwrite64(mDescriptor, bytes.data, bytes.size, static_cast<off64_t>(offset));
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) fail(errno);
        bytes = bytes.from(static_cast<size_t>(n));
        offset += static_cast<uint64_t>(n);
    }
}

void AtomicFile::commit() {
    flush();
    if (fsync(mDescriptor) != 0) fail(errno);
    int descriptor = mDescriptor;
    mDescriptor = -1;
    if (close(descriptor) != 0) {
        int error = errno;
        unlink(mTemporary.c_str());
        fail(error);
    }
    {
        SignalsHeldBack heldBack;
        rename();
        FreeSlot(mSlot);
        mSlot = kSlots;
    }
    // The new name, too, should outlive a loss of power. Not every file system can promise it.
    int folder = open(FolderOf(mPath).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder < 0) return;
    fsync(folder);
    close(folder);
}

void AtomicFile::rename() {
    unsigned flags = mExisting == Existing::kKeep ? RENAME_NOREPLACE : 0;
    int result = renameat2(AT_FDCWD, mTemporary.c_str(), AT_FDCWD, mPath.c_str(), flags);
    if (result != 0 && flags != 0 && (errno == EINVAL || errno == ENOSYS)) {
        // A file system without the exclusive form; the look at the beginning has to do.
        result = ::rename(mTemporary.c_str(), mPath.c_str());
    }
    if (result == 0) return;
    int error = errno;
    unlink(mTemporary.c_str());
    fail(error);
}

void AtomicFile::discard() {
    SignalsHeldBack heldBack;
    if (mDescriptor >= 0) {
        close(mDescriptor);
        unlink(mTemporary.c_str());
    }
    FreeSlot(mSlot);
}

void AtomicFile::fail(int error) const {
    const char* advice = error == EEXIST ? " (--force replaces it)" : "";
    throw Failure(ExitCode::kInputOutput, fmt::format("{}: {}{}", mPath, strerror(error), advice));
}

}  // namespace orvel
