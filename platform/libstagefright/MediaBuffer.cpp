// SPDX-License-Identifier: Apache-2.0
#include <media/stagefright/MediaBuffer.h>

#include <stddef.h>
#include <stdlib.h>

#include <new>

#define LOG_TAG "MediaBuffer"
#include <media/stagefright/foundation/ADebug.h>

namespace android {

// The head of a buffer's block; what the buffer owns follows it.
class alignas(max_align_t) MediaBuffer::Description : public MetaData {
  public:
    static Description* make(size_t bytesBehind) {
        void* const block = bytesBehind <= SIZE_MAX - sizeof(Description)
                                    ? malloc(sizeof(Description) + bytesBehind)
                                    : nullptr;
        LOG_ALWAYS_FATAL_IF(block == nullptr, "out of memory: a buffer of %zu bytes", bytesBehind);
        return ::new (block) Description;
    }
    static void operator delete(void* block) { free(block); }
    void* behind() { return this + 1; }

  private:
    Description() = default;
};

MediaBuffer::MediaBuffer(size_t size)
    : mMetaData(Description::make(size)),
      mData(static_cast<Description*>(mMetaData.get())->behind()),
      mSize(size),
      mRangeOffset(0),
      mRangeLength(size),
      mExtraRefs(0) {}

MediaBuffer::MediaBuffer(void* data, size_t size)
    : mMetaData(Description::make(0)),
      mData(data),
      mSize(size),
      mRangeOffset(0),
      mRangeLength(size),
      mExtraRefs(0) {}

MediaBuffer::~MediaBuffer() = default;

void MediaBuffer::add_ref() {
    mExtraRefs.fetch_add(1, std::memory_order_relaxed);
}

void MediaBuffer::release() {
    // As in RefBase: only who holds a reference can add one, so whoever finds no other is alone.
    if (mExtraRefs.load(std::memory_order_acquire) == 0 ||
        mExtraRefs.fetch_sub(1, std::memory_order_acq_rel) == 0)
        delete this;
}

void MediaBuffer::set_range(size_t offset, size_t length) {
    CHECK_LE(offset, mSize);
    CHECK_LE(length, mSize - offset);
    mRangeOffset = offset;
    mRangeLength = length;
}

}  // namespace android
