// SPDX-License-Identifier: Apache-2.0
#include "source/StandardInput.h"

#include <errno.h>
#include <fcntl.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <vector>

namespace orvel {
namespace {

constexpr size_t kChunk = 256 * 1024;

int OpenNameless(std::string* error) {
    const char* named = getenv("TMPDIR");
    std::string path = std::string(named != nullptr && *named != '\0' ? named : "/tmp") + "/orvel-flv-XXXXXX";
    int file = mkostemp(path.data(), O_CLOEXEC);
    if (file < 0) *error = path + ": " + strerror(errno);
    if (file >= 0) unlink(path.c_str());
    return file;
}

bool WriteAll(int file, const char* bytes, size_t size) {
    while (size > 0) {
        ssize_t n = write(file, bytes, size);
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) return false;
        bytes += n;
        size -= static_cast<size_t>(n);
    }
    return true;
}

bool CopyInput(int file) {
    std::vector<char> chunk(kChunk);
    for (;;) {
        ssize_t n = read(STDIN_FILENO, chunk.data(), chunk.size());
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return n == 0;
        if (!WriteAll(file, chunk.data(), static_cast<size_t>(n))) return false;
    }
}

android::sp<FileSource> Reopen(int descriptor, std::string* error) {
    return FileSource::Open("/proc/self/fd/" + std::to_string(descriptor), error);
}

}  // namespace

android::sp<FileSource> OpenStandardInput(std::string* error) {
    struct stat status;
    if (fstat(STDIN_FILENO, &status) == 0 && S_ISREG(status.st_mode)) return Reopen(STDIN_FILENO, error);
    int file = OpenNameless(error);
    if (file < 0) return nullptr;
    android::sp<FileSource> source;
    if (CopyInput(file)) {
        source = Reopen(file, error);
    } else {
        *error = strerror(errno);
    }
    close(file);
    return source;
}

}  // namespace orvel
