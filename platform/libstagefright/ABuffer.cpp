// SPDX-License-Identifier: Apache-2.0
#include <media/stagefright/foundation/ABuffer.h>

#include <stdlib.h>

#define LOG_TAG "ABuffer"
#include <media/stagefright/foundation/ADebug.h>

namespace android {

ABuffer::ABuffer(size_t capacity)
    : mData(static_cast<uint8_t*>(malloc(capacity))),
      mCapacity(mData != nullptr ? capacity : 0),
      mRangeOffset(0),
      mRangeLength(mCapacity),
      mOwnsData(true) {}

ABuffer::ABuffer(void* data, size_t capacity)
    : mData(static_cast<uint8_t*>(data)),
      mCapacity(capacity),
      mRangeOffset(0),
      mRangeLength(capacity),
      mOwnsData(false) {}

ABuffer::~ABuffer() {
    if (mOwnsData) free(mData);
}

void ABuffer::setRange(size_t offset, size_t size) {
    CHECK_LE(offset, mCapacity);
    CHECK_LE(size, mCapacity - offset);
    mRangeOffset = offset;
    mRangeLength = size;
}

}  // namespace android
