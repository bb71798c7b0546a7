// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stddef.h>
#include <stdint.h>
#include <sys/types.h>

#include <utils/Errors.h>
#include <utils/RefBase.h>
#include <utils/String8.h>

namespace android {

// Bytes at offsets: a file, a network resource, a block of memory. An implementation says which of its
// operations may be called from several threads at once.
class DataSource : public RefBase {
  public:
    // What flags() may report, as bits.
    enum Flags {
        kWantsPrefetching = 1,
        kStreamedFromLocalHost = 2,
        // Reads go through a cache; far jumps are dear.
        kIsCachingDataSource = 4,
        kIsHTTPBasedSource = 8,
        kIsLocalFileSource = 16,
    };

    DataSource();

    // OK when the source can be read; the other operations may fail otherwise.
    virtual status_t initCheck() const = 0;

    // Reads up to size bytes at an offset (from the start, not negative) into data. Result: the number of
    // bytes read, which may be less than size at any time and is 0 at or beyond the end; or a negative
    // status. data's content beyond the bytes read is unspecified.
    virtual ssize_t readAt(off64_t offset, void* data, size_t size) = 0;

    // Stores the number of bytes. Default: ERROR_UNSUPPORTED, with 0 stored.
    virtual status_t getSize(off64_t* size);

    // Bits of Flags. Default: 0.
    virtual uint32_t flags();

    // A description for people. Default: "<unspecified>".
    virtual String8 toString();

  protected:
    ~DataSource() override;
};

}  // namespace android
