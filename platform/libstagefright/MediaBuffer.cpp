// SPDX-License-Identifier: Apache-2.0
#include <media/stagefright/MediaBuffer.h>

#include <stdlib.h>

#define LOG_TAG "MediaBuffer"
#include <media/stagefright/foundation/ADebug.h>

namespace android {

MediaBuffer::MediaBuffer(size_t size)
    : mData(malloc(size)), mSize(size), mRangeOffset(0), mRangeLength(size), mExtraRefs(0), mOwnsData(true) {
    LOG_ALWAYS_FATAL_IF(mData == nullptr && size != 0, "out of memory: a buffer of %zu bytes", size);
}

MediaBuffer::MediaBuffer(void* data, size_t size)
    : mData(data), mSize(size), mRangeOffset(0), mRangeLength(size), mExtraRefs(0), mOwnsData(false) {}

MediaBuffer::~MediaBuffer() {
    if (mOwnsData) free(mData);
}

void MediaBuffer::add_ref() {
    mExtraRefs.fetch_add(1, std::memory_order_relaxed);
}

void MediaBuffer::release() {
    if (mExtraRefs.fetch_sub(1, std::memory_order_acq_rel) == 0) delete this;
}

void MediaBuffer::set_range(size_t offset, size_t length) {
    CHECK_LE(offset, mSize);
    CHECK_LE(length, mSize - offset);
    mRangeOffset = offset;
    mRangeLength = length;
}

sp<MetaData> MediaBuffer::meta_data() {
    if (mMetaData == nullptr) mMetaData = new MetaData;
    return mMetaData;
}

}  // namespace android
