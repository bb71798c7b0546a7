// SPDX-License-Identifier: Apache-2.0
// demux_limit: what no demultiplexer that hands out copies can beat. A bare walk along the tag chain that
// copies each payload out of the page cache into one buffer; with --plain instead a read of the whole file in
// blocks of 1 MiB.
#include <fcntl.h>
#include <fmt/format.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include "Measurement.h"

namespace {

using namespace orvel;

constexpr size_t kBlockBytes = 1 << 20;
constexpr size_t kFileHeaderBytes = 9 + 4;  // with the first PreviousTagSize
constexpr size_t kTagHeaderBytes = 11;
constexpr size_t kPreviousTagSizeBytes = 4;

bool plain = false;

size_t Number24(const uint8_t* bytes) {
    return size_t{bytes[0]} << 16 | size_t{bytes[1]} << 8 | bytes[2];
}

// Where the payload begins within the data of a tag; 0 when it holds no sample. AVC and AAC only.
size_t PayloadOffset(uint8_t tagType, const uint8_t* data) {
    if (data[1] != 1) return 0;  // a configuration
    return tagType == 8 ? 2 : tagType == 9 ? 5 : 0;
}

std::string Walk(const char* path, int descriptor, size_t size, bool withChecksums) {
    const double begin = Now();
    void* memory = mmap(nullptr, size, PROT_READ, MAP_SHARED, descriptor, 0);
    if (memory == MAP_FAILED) Fail(path, "cannot be mapped");
    const auto* file = static_cast<const uint8_t*>(memory);
    std::vector<uint8_t> payload(1 << 24);
    Tally tally(withChecksums);
    for (size_t at = kFileHeaderBytes; size - at > kTagHeaderBytes;) {
        const uint8_t* tag = file + at;
        const size_t dataSize = Number24(tag + 1);
        if (dataSize < 2 || dataSize > size - at - kTagHeaderBytes) break;
        const uint8_t* data = tag + kTagHeaderBytes;
        const size_t offset = PayloadOffset(tag[0], data);
        if (offset != 0 && dataSize > offset) {
            memcpy(payload.data(), data + offset, dataSize - offset);
            if (tag[0] == 9) {
                tally.addLengthPrefixed(kVideo, payload.data(), dataSize - offset);
            } else {
                tally.add(kAudio, payload.data(), dataSize - offset);
            }
        }
        at += kTagHeaderBytes + dataSize + kPreviousTagSizeBytes;
        if (at > size) break;
    }
    const double end = Now();
    munmap(memory, size);
    return fmt::format(R"("open": 0, "read": {:.4g}, {})", end - begin, tally.json());
}

std::string ReadPlainly(int descriptor) {
    std::vector<uint8_t> block(kBlockBytes);
    const double begin = Now();
    size_t bytes = 0;
    for (ssize_t n; (n = read(descriptor, block.data(), block.size())) > 0;)
        bytes += static_cast<size_t>(n);
    return fmt::format(R"("open": 0, "read": {:.4g}, "bytes": {})", Now() - begin, bytes);
}

std::string Play(const char* path, bool withChecksums) {
    const int descriptor = open(path, O_RDONLY | O_CLOEXEC);
    struct stat status {};
    if (descriptor < 0 || fstat(descriptor, &status) != 0) Fail(path, strerror(errno));
    const auto size = static_cast<size_t>(status.st_size);
    const std::string line = plain ? ReadPlainly(descriptor) : Walk(path, descriptor, size, withChecksums);
    close(descriptor);
    return line;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc > 1 && strcmp(argv[1], "--plain") == 0) {
        plain = true;
        ++argv, --argc;
    }
    return RunMeasurement(argc, argv, {Play});
}
