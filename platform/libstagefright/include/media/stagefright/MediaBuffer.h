// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <atomic>

#include <media/stagefright/MetaData.h>
#include <utils/RefBase.h>

namespace android {

// One access unit, or a part of one: a block of bytes, the range of them that is valid, and a description
// (kKeyTime, kKeyIsSyncFrame). Made with `new` and given up with release(); not held by sp. One buffer is
// used by one thread at a time; only its references may be taken and given up concurrently.
class MediaBuffer final {
  public:
    // Allocates size bytes, not initialised. Running out of memory ends the process with a fatal log line.
    explicit MediaBuffer(size_t size);
    // Uses the caller's bytes, which must outlive the buffer.
    MediaBuffer(void* data, size_t size);

    MediaBuffer(const MediaBuffer&) = delete;
    MediaBuffer& operator=(const MediaBuffer&) = delete;

    // refcount() is the number of references beyond the one that the maker has, 0 for a new buffer. add_ref
    // adds one. release gives one up, and the last release destroys the buffer: a buffer never add_ref'ed is
    // destroyed by its only release.
    void add_ref();
    void release();
    int refcount() const { return mExtraRefs.load(std::memory_order_relaxed); }

    // The whole block. data() may be null only when size() is 0.
    void* data() const { return mData; }
    size_t size() const { return mSize; }

    // The valid part: initially everything. set_range ends the process with a fatal log line unless
    // offset + length <= size().
    size_t range_offset() const { return mRangeOffset; }
    size_t range_length() const { return mRangeLength; }
    void set_range(size_t offset, size_t length);

    // The description, empty at first and shared with whoever keeps it, also beyond the buffer's end.
    sp<MetaData> meta_data() { return mMetaData; }

    // A buffer, its description and its own bytes, if they are a few hundred, are one allocation.
    static void* operator new(size_t size);
    static void operator delete(void* buffer);

  protected:
    virtual ~MediaBuffer();

  private:
    class Description;

    // The bytes are those owned or, where that is null, the others.
    MediaBuffer(void* owned, void* other, size_t size);

    MetaData* const mMetaData;  // referenced; its end is that of the memory in which this buffer lies
    void* const mOwned;         // the bytes' own allocation, or null
    void* const mData;
    const size_t mSize;
    size_t mRangeOffset;
    size_t mRangeLength;
    std::atomic<int> mExtraRefs;
};

}  // namespace android
