// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <media/stagefright/DataSource.h>
#include <stddef.h>
#include <stdint.h>
#include <string.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

namespace orvel {

// A kind of file made to be expensive: each byte of it costs a reader as much as its author could think of.
struct HostileShape {
    const char* name;
    // A file of about this many bytes, at least 64 KiB; the same for every call.
    std::vector<uint8_t> (*make)(size_t size);
};
const std::vector<HostileShape>& HostileShapes();

// A file in memory that counts what is read of it.
class MeteredSource : public android::DataSource {
  public:
    explicit MeteredSource(std::vector<uint8_t> bytes, uint32_t flags = 0)
        : mBytes(std::move(bytes)), mFlags(flags) {}

    uint64_t reads() const { return mReads; }
    uint64_t bytesRead() const { return mBytesRead; }
    size_t size() const { return mBytes.size(); }

    android::status_t initCheck() const override { return android::OK; }
    uint32_t flags() override { return mFlags; }
    android::status_t getSize(off64_t* size) override {
        *size = static_cast<int64_t>(mBytes.size());
        return android::OK;
    }
    ssize_t readAt(off64_t offset, void* data, size_t size) override {
        ++mReads;
        if (offset < 0 || offset >= static_cast<int64_t>(mBytes.size())) return 0;
        const auto position = static_cast<size_t>(offset);
        const size_t count = std::min(size, mBytes.size() - position);
        memcpy(data, mBytes.data() + position, count);
        mBytesRead += count;
        return static_cast<ssize_t>(count);
    }

  private:
    const std::vector<uint8_t> mBytes;
    const uint32_t mFlags;
    uint64_t mReads = 0;
    uint64_t mBytesRead = 0;
};

// What was read, and how long it took.
struct Cost {
    uint64_t reads = 0;
    uint64_t bytes = 0;
    double seconds = 0;
};

// What a player does with a file. Of what can begin at many places or times, the most that one of them costs.
struct Deed {
    const char* name;
    Cost (*cost)(const std::vector<uint8_t>& file);
    // What is proportionate for a file of any shape. To go through a file once costs a read for every 4096
    // bytes; a candidate for resynchronisation may cost one more, of 15 bytes.
    double readsPerByte;
    double bytesPerByte;
};
const std::vector<Deed>& Deeds();

// How many times as much the deed costs for a file of `size` bytes that is `factor` times as large as
// another, in reads and in bytes. What stays below the proportionate counts as that, since a cost may begin
// at a size: candidates that point behind the end of a small file cost nothing.
struct Growth {
    double reads;
    double bytes;
};
Growth GrowthOf(const Deed& deed, const Cost& before, const Cost& after, size_t sizeBefore);

}  // namespace orvel
