// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <utils/RefBase.h>

namespace android {

// A shared block of bytes of fixed capacity and the range of it that is in use. Not synchronised.
class ABuffer : public RefBase {
  public:
    // Allocates capacity bytes, not initialised; the range is all of them. When memory runs out, base() is
    // null and capacity() is 0.
    explicit ABuffer(size_t capacity);
    // Uses the caller's bytes, which must outlive the buffer.
    ABuffer(void* data, size_t capacity);

    // The block.
    uint8_t* base() { return mData; }
    const uint8_t* base() const { return mData; }
    size_t capacity() const { return mCapacity; }

    // The range: size() bytes at data(), which is base() + offset().
    uint8_t* data() { return mData + mRangeOffset; }
    const uint8_t* data() const { return mData + mRangeOffset; }
    size_t size() const { return mRangeLength; }
    size_t offset() const { return mRangeOffset; }

    // Ends the process with a fatal log line unless offset + size <= capacity().
    void setRange(size_t offset, size_t size);

  protected:
    ~ABuffer() override;

  private:
    uint8_t* mData;
    size_t mCapacity;
    size_t mRangeOffset;
    size_t mRangeLength;
    bool mOwnsData;
};

}  // namespace android
