// SPDX-License-Identifier: Apache-2.0
#include "source/FileSource.h"

#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

namespace orvel {
namespace {

// The number of bytes behind a descriptor, or -1 with *error filled.
off64_t MeasureSize(int descriptor, std::string* error) {
    struct stat64 status;
    if (fstat64(descriptor, &status) != 0) {
        *error = strerror(errno);
        return -1;
    }
    if (S_ISREG(status.st_mode)) return status.st_size;
    if (S_ISDIR(status.st_mode)) {
        *error = strerror(EISDIR);
        return -1;
    }
    off64_t end = S_ISBLK(status.st_mode) ? lseek64(descriptor, 0, SEEK_END) : -1;
    if (end < 0) *error = "not a file with random access";
    return end;
}

}  // namespace

android::sp<FileSource> FileSource::Open(const std::string& path, std::string* error) {
    // Opening a pipe without a writer would wait for one; a regular file takes no notice of the flag.
    int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_LARGEFILE | O_NONBLOCK);
    if (descriptor < 0) {
        *error = strerror(errno);
        return nullptr;
    }
    off64_t size = MeasureSize(descriptor, error);
    if (size < 0) {
        close(descriptor);
        return nullptr;
    }
    return new FileSource(descriptor, size, path);
}

FileSource::FileSource(int descriptor, off64_t size, const std::string& path)
    : mDescriptor(descriptor), mSize(size), mPath(path), mMapped(descriptor, static_cast<size_t>(size)) {}

FileSource::~FileSource() {
    close(mDescriptor);
}

android::status_t FileSource::initCheck() const {
    return android::OK;
}

ssize_t FileSource::readAt(off64_t offset, void* data, size_t size) {
    if (offset < 0) return android::BAD_VALUE;
    if (offset >= mSize) return 0;
    size_t wanted = std::min(size, static_cast<size_t>(mSize - offset));
    if (mMapped.read(static_cast<size_t>(offset), data, wanted)) return static_cast<ssize_t>(wanted);
    return readDescriptor(offset, data, wanted);
}

// Where the mapping fails: tells how many bytes there are all the same, and why there are no more.
ssize_t FileSource::readDescriptor(off64_t offset, void* data, size_t wanted) {
    auto* bytes = static_cast<uint8_t*>(data);
    size_t done = 0;
    while (done < wanted) {
        ssize_t n = pread64(mDescriptor, bytes + done, wanted - done, offset + static_cast<off64_t>(done));
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) {
            mErrno = errno;
            return done > 0 ? static_cast<ssize_t>(done) : -errno;
        }
        if (n == 0) break;
        done += static_cast<size_t>(n);
    }
    return static_cast<ssize_t>(done);
}

android::status_t FileSource::getSize(off64_t* size) {
    *size = mSize;
    return android::OK;
}

uint32_t FileSource::flags() {
    return kIsLocalFileSource;
}

android::String8 FileSource::toString() {
    return android::String8(mPath.c_str());
}

std::string FileSource::lastError() const {
    int error = mErrno;
    return error == 0 ? "" : strerror(error);
}

}  // namespace orvel
