// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <media/stagefright/DataSource.h>
#include <string.h>

#include <algorithm>
#include <utility>
#include <vector>

namespace orvel {

// A file in memory.
class BytesSource : public android::DataSource {
  public:
    explicit BytesSource(std::vector<uint8_t> bytes) : mBytes(std::move(bytes)) {}

    android::status_t initCheck() const override { return android::OK; }
    android::status_t getSize(off64_t* size) override {
        *size = static_cast<off64_t>(mBytes.size());
        return android::OK;
    }
    ssize_t readAt(off64_t offset, void* data, size_t size) override {
        if (offset < 0 || offset >= static_cast<off64_t>(mBytes.size())) return 0;
        size_t count = std::min(size, mBytes.size() - static_cast<size_t>(offset));
        memcpy(data, &mBytes[static_cast<size_t>(offset)], count);
        return static_cast<ssize_t>(count);
    }

  private:
    const std::vector<uint8_t> mBytes;
};

}  // namespace orvel
