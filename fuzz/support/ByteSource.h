// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <media/stagefright/DataSource.h>
#include <string.h>

#include "support/ByteSpan.h"
#include "support/Require.h"

namespace orvel {

// A file in memory, which is not copied. A read that does not lie within it is a finding.
class ByteSource : public android::DataSource {
  public:
    explicit ByteSource(ByteSpan bytes, uint32_t flags = 0) : mBytes(bytes), mFlags(flags) {}

    android::status_t initCheck() const override { return android::OK; }
    uint32_t flags() override { return mFlags; }

    android::status_t getSize(off64_t* size) override {
        *size = static_cast<off64_t>(mBytes.size);
        return android::OK;
    }

    ssize_t readAt(off64_t offset, void* data, size_t size) override {
        ++mReads;
        Require(offset >= 0 && static_cast<size_t>(offset) <= mBytes.size, "reads begin within the file");
        const auto position = static_cast<size_t>(offset);
        Require(size > 0 && size <= mBytes.size - position, "reads ask for bytes that there are");
        memcpy(data, mBytes.data + position, size);
        return static_cast<ssize_t>(size);
    }

    size_t reads() const { return mReads; }

  private:
    const ByteSpan mBytes;
    const uint32_t mFlags;
    size_t mReads = 0;
};

}  // namespace orvel
