// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/mman.h>
#include <unistd.h>

#include <string>
#include <string_view>

#include "support/Require.h"

namespace orvel {

// What a standard stream receives while this is in scope.
class Captured {
  public:
    explicit Captured(FILE** stream) : mStream(stream), mReal(*stream) {
        *stream = open_memstream(&mData, &mSize);
    }
    ~Captured() {
        end();
        free(mData);
    }
    std::string_view end() {
        if (*mStream != mReal) fclose(*mStream);
        *mStream = mReal;
        return {mData, mSize};
    }

  private:
    FILE** const mStream;
    FILE* const mReal;
    char* mData = nullptr;
    size_t mSize = 0;
};

// A file by name whose bytes are exactly these.
inline std::string NameFile(const uint8_t* data, size_t size) {
    static const int file = memfd_create("input.flv", 0);
    Require(ftruncate(file, 0) == 0 && pwrite(file, data, size, 0) == static_cast<ssize_t>(size),
            "a file is written");
    return "/proc/self/fd/" + std::to_string(file);
}

}  // namespace orvel
