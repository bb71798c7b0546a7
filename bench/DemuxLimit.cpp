// SPDX-License-Identifier: Apache-2.0
// demux_limit: what no demultiplexer that hands out copies can beat. A bare walk along the tag chain that
// copies each payload out of the page cache into one buffer; with --plain instead a read of the whole file in
// blocks of 1 MiB. Seeks are the reads alone that one cannot do without, where to is known beforehand.
#include <fcntl.h>
#include <fmt/format.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

#include "Measurement.h"

namespace {

using namespace orvel;

constexpr size_t kBlockBytes = 1 << 20;
constexpr size_t kFileHeaderBytes = 9 + 4;  // with the first PreviousTagSize
constexpr size_t kTagHeaderBytes = 11;
constexpr size_t kPreviousTagSizeBytes = 4;
constexpr size_t kCacheBytes = 4096;  // the plug-in's, and so the least that it asks for
constexpr uint8_t kAudioTag = 8, kVideoTag = 9, kKeyFrame = 1;

bool plain = false;

size_t Number24(const uint8_t* bytes) {
    return size_t{bytes[0]} << 16 | size_t{bytes[1]} << 8 | bytes[2];
}

// Where the payload begins within the data of a tag; 0 when it holds no sample. AVC and AAC only.
size_t PayloadOffset(uint8_t tagType, const uint8_t* data) {
    if (data[1] != 1) return 0;  // a configuration
    return tagType == kAudioTag ? 2 : tagType == kVideoTag ? 5 : 0;
}

class Mapping {
  public:
    Mapping(const char* path, int descriptor, size_t size)
        : mMemory(mmap(nullptr, size, PROT_READ, MAP_SHARED, descriptor, 0)), mSize(size) {
        if (mMemory == MAP_FAILED) Fail(path, "cannot be mapped");
    }
    ~Mapping() { munmap(mMemory, mSize); }
    Mapping(const Mapping&) = delete;
    Mapping& operator=(const Mapping&) = delete;

    // Each tag that holds a sample: the tag, the offset of its payload within its data, and its data's size.
    template <typename Visit>
    void walk(Visit visit) const {
        const auto* file = static_cast<const uint8_t*>(mMemory);
        for (size_t at = kFileHeaderBytes; at <= mSize && mSize - at > kTagHeaderBytes;) {
            const uint8_t* tag = file + at;
            const size_t dataSize = Number24(tag + 1);
            if (dataSize < 2 || dataSize > mSize - at - kTagHeaderBytes) break;
            const size_t offset = PayloadOffset(tag[0], tag + kTagHeaderBytes);
            if (offset != 0 && dataSize > offset) visit(tag, offset, dataSize);
            at += kTagHeaderBytes + dataSize + kPreviousTagSizeBytes;
        }
    }
    off_t offsetOf(const uint8_t* tag) const { return tag - static_cast<const uint8_t*>(mMemory); }

  private:
    void* const mMemory;
    const size_t mSize;
};

std::string Walk(const char* path, int descriptor, size_t size, bool withChecksums) {
    Tally tally(withChecksums);
    std::vector<uint8_t> payload(1 << 24);
    const double begin = Now();
    {
        const Mapping mapping(path, descriptor, size);
        mapping.walk([&](const uint8_t* tag, size_t offset, size_t dataSize) {
            memcpy(payload.data(), tag + kTagHeaderBytes + offset, dataSize - offset);
            if (tag[0] == kVideoTag) {
                tally.addLengthPrefixed(kVideo, payload.data(), dataSize - offset);
            } else {
                tally.add(kAudio, payload.data(), dataSize - offset);
            }
        });
    }
    const double end = Now();
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

int OpenFile(const char* path, size_t* size) {
    const int descriptor = open(path, O_RDONLY | O_CLOEXEC);
    struct stat status {};
    if (descriptor < 0 || fstat(descriptor, &status) != 0) Fail(path, strerror(errno));
    *size = static_cast<size_t>(status.st_size);
    return descriptor;
}

std::string Play(const char* path, bool withChecksums) {
    size_t size;
    const int descriptor = OpenFile(path, &size);
    const std::string line = plain ? ReadPlainly(descriptor) : Walk(path, descriptor, size, withChecksums);
    close(descriptor);
    return line;
}

// Where a decoder can begin: key frames, or all samples of a file without video.
struct Place {
    int64_t timeMs;
    off_t slot;
    size_t bytes;  // from there to the payload's end
};

std::vector<Place> FindPlaces(const Mapping& mapping) {
    std::vector<Place> all, keyFrames;
    mapping.walk([&](const uint8_t* tag, size_t, size_t dataSize) {
        const Place place = {static_cast<int64_t>(Number24(tag + 4) | size_t{tag[7]} << 24),
                             mapping.offsetOf(tag) - static_cast<off_t>(kPreviousTagSizeBytes),
                             kPreviousTagSizeBytes + kTagHeaderBytes + dataSize};
        all.push_back(place);
        if (tag[0] == kVideoTag && tag[kTagHeaderBytes] >> 4 == kKeyFrame) keyFrames.push_back(place);
    });
    return keyFrames.empty() ? all : keyFrames;
}

// A block of the cache's size, and a payload that does not lie within it by a read of its own.
std::string Seek(const char* path, int count) {
    size_t size;
    const int descriptor = OpenFile(path, &size);
    const std::vector<Place> places = FindPlaces(Mapping(path, descriptor, size));
    if (places.empty()) Fail(path, "no samples");
    std::vector<uint8_t> block(kBlockBytes);
    SeekTargets targets(places.back().timeMs * 1000);
    Landings landings;
    for (int i = 0; i < count; ++i) {
        const int64_t timeUs = targets.next();
        auto behind = std::upper_bound(places.begin(), places.end(), timeUs / 1000,
                                       [](int64_t ms, const Place& place) { return ms < place.timeMs; });
        const Place& place = behind == places.begin() ? *behind : *--behind;
        const double begin = WallNow();
        ssize_t got = pread(descriptor, block.data(), kCacheBytes, place.slot);
        if (place.bytes > kCacheBytes && got > 0)
            got = pread(descriptor, block.data(), std::min(place.bytes, block.size()), place.slot);
        landings.add(WallNow() - begin, timeUs, place.timeMs * 1000, true);
        if (got < 1) Fail(path, "cannot be read");
    }
    close(descriptor);
    return landings.json();
}

}  // namespace

int main(int argc, char** argv) {
    if (argc > 1 && strcmp(argv[1], "--plain") == 0) {
        plain = true;
        ++argv, --argc;
    }
    return RunMeasurement(argc, argv, {Play, nullptr, Seek});
}
