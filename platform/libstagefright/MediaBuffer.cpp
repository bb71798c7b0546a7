// SPDX-License-Identifier: Apache-2.0
#include <media/stagefright/MediaBuffer.h>

#include <stddef.h>
#include <stdlib.h>

#include <new>

#define LOG_TAG "MediaBuffer"
#include <media/stagefright/foundation/ADebug.h>

namespace android {

namespace {

void* allocate(size_t size) {
    void* const memory = malloc(size);
    LOG_ALWAYS_FATAL_IF(memory == nullptr, "out of memory: a buffer of %zu bytes", size);
    return memory;
}

// The address sanitizer guards the ends of whole blocks only.
#if defined(__SANITIZE_ADDRESS__)
constexpr bool kGuarded = true;
#elif defined(__has_feature)
constexpr bool kGuarded = __has_feature(address_sanitizer);
#else
constexpr bool kGuarded = false;
#endif

constexpr size_t kBytesInside = kGuarded ? 0 : 768;

}  // namespace

// One block holds the description, first because it may outlive the buffer and takes the block with it, then
// the buffer, then the buffer's bytes if they are few. A second and third call of the allocator would show in
// the time that a small sample takes.
class alignas(max_align_t) MediaBuffer::Description : public MetaData {
  public:
    static Description* of(void* buffer) { return static_cast<Description*>(buffer) - 1; }
    static void* operator new(size_t, void* place) { return place; }
    static void operator delete(void* block) { free(block); }
};

void* MediaBuffer::operator new(size_t /* size */) {
    static_assert(sizeof(MediaBuffer) % alignof(max_align_t) == 0, "the bytes behind it need alignment");
    return static_cast<Description*>(allocate(sizeof(Description) + sizeof(MediaBuffer) + kBytesInside)) + 1;
}

void MediaBuffer::operator delete(void* buffer) {
    Description::of(buffer)->decStrong(buffer);
}

MediaBuffer::MediaBuffer(size_t size)
    : MediaBuffer(size <= kBytesInside ? nullptr : allocate(size), this + 1, size) {}

MediaBuffer::MediaBuffer(void* data, size_t size) : MediaBuffer(nullptr, data, size) {}

MediaBuffer::MediaBuffer(void* owned, void* other, size_t size)
    : mMetaData(new (Description::of(this)) Description),
      mOwned(owned),
      mData(owned != nullptr ? owned : other),
      mSize(size),
      mRangeOffset(0),
      mRangeLength(size),
      mExtraRefs(0) {
    mMetaData->incStrong(this);
}

MediaBuffer::~MediaBuffer() {
    free(mOwned);
}

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
