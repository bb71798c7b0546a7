// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <media/stagefright/DataSource.h>
#include <media/stagefright/MediaErrors.h>
#include <string.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <utility>
#include <vector>

namespace orvel {

using Bytes = std::vector<uint8_t>;

// A file in memory that behaves as badly as a test asks for, and records what it was asked.
class MemorySource : public android::DataSource {
  public:
    explicit MemorySource(Bytes bytes, uint32_t flags = 0) : mBytes(std::move(bytes)), mFlags(flags) {}

    struct Call {
        int64_t offset;
        size_t size;
        bool operator==(const Call& other) const { return offset == other.offset && size == other.size; }
    };

    // Bytes that one read delivers at most.
    size_t chunk = std::numeric_limits<size_t>::max();
    // The first call (from 1) that answers failure, and how many of them in a row; 0 = none. A positive
    // number is not answered but delivered: at most so many bytes.
    size_t failAt = 0;
    size_t failures = std::numeric_limits<size_t>::max();
    ssize_t failure = android::ERROR_IO;
    // When not 0, those calls deliver, but with these bits of every byte turned over.
    uint8_t change = 0;
    // What getSize tells, when it is not the truth.
    int64_t reportedSize = kTruth;
    android::status_t sizeStatus = android::OK;
    std::vector<Call> calls;

    static constexpr int64_t kTruth = -2;

    Bytes& bytes() { return mBytes; }

    android::status_t initCheck() const override { return android::OK; }
    uint32_t flags() override { return mFlags; }

    android::status_t getSize(off64_t* size) override {
        *size = reportedSize == kTruth ? static_cast<int64_t>(mBytes.size()) : reportedSize;
        return sizeStatus;
    }

    ssize_t readAt(off64_t offset, void* data, size_t size) override {
        calls.push_back({offset, size});
        const bool fails = failAt != 0 && calls.size() >= failAt && calls.size() - failAt < failures;
        const bool changes = fails && change != 0;
        if (fails && !changes && failure < 1) return failure;
        if (offset < 0) return android::ERROR_IO;
        const auto position = static_cast<size_t>(offset);
        if (position >= mBytes.size()) return 0;
        const size_t most = fails && !changes ? static_cast<size_t>(failure) : chunk;
        const size_t count = std::min({size, most, mBytes.size() - position});
        const uint8_t bits = changes ? change : 0;
        std::transform(&mBytes[position], &mBytes[position] + count, static_cast<uint8_t*>(data),
                       [bits](uint8_t byte) { return static_cast<uint8_t>(byte ^ bits); });
        return static_cast<ssize_t>(count);
    }

  private:
    Bytes mBytes;
    uint32_t mFlags;
};

}  // namespace orvel
