// SPDX-License-Identifier: Apache-2.0
#include <string.h>
#include <utils/Errors.h>

#include <algorithm>

#include "FlvReader.h"

namespace FlvReader {

using android::DataSource;
using android::sp;

FlvFile::FlvFile(const sp<DataSource>& source)
    : mLastReadSize(0),
      mSource(source),
      mOffset(0),
      mFileSize(0),
      mBufferOffset(0),
      mBufferPos(0),
      mBufferLength(0),
      mBitsLeft(0),
      mBitByte(0),
      mDelivered(true) {
    off64_t size = 0;
    if (mSource->getSize(&size) == android::OK && size > 0) mFileSize = size;
}

int64_t FlvFile::Remaining() const {
    return mOffset < 0 || mOffset >= mFileSize ? 0 : mFileSize - mOffset;
}

// The size bytes at an offset when the cache holds them all, or null.
const uint8_t* FlvFile::Cached(int64_t offset, size_t size) const {
    if (offset < mBufferOffset) return nullptr;
    const int64_t index = offset - mBufferOffset;
    return index <= mBufferLength - static_cast<int64_t>(size) ? mBuffer + index : nullptr;
}

const uint8_t* FlvFile::NextCached(size_t size) {
    const uint8_t* bytes = Cached(mOffset, size);
    if (bytes != nullptr) mBufferPos = static_cast<int32_t>(bytes - mBuffer);
    return bytes;
}

// Keeps a read's result, a failed one too. That a read brought nothing is remembered up to the next seek:
// with a source that stops delivering, it is the sign by which every loop over tags ends.
bool FlvFile::Note(int64_t result) {
    mLastReadSize = result;
    if (result < 1) mDelivered = false;
    return result >= 1;
}

// A position outside the file fails here, since some sources assert on a negative offset. A source that
// claims to have delivered more than it was asked for is not believed.
bool FlvFile::Refill() {
    const int64_t length = std::min<int64_t>(Remaining(), kCacheBytes);
    int64_t count = 0;
    if (length > 0) count = mSource->readAt(mOffset, mBuffer, static_cast<size_t>(length));
    if (!Note(std::min(count, length))) return false;
    mBufferOffset = mOffset;
    mBufferLength = static_cast<int32_t>(mLastReadSize);
    mBufferPos = 0;
    return true;
}

long FlvFile::ByteRead(unsigned char* destination, unsigned long size) {
    mBitsLeft = 0;
    if (size >= kCacheBytes) {
        const int64_t count = mOffset < 0 ? 0 : mSource->readAt(mOffset, destination, size);
        if (Note(std::min(count, static_cast<int64_t>(size)))) mOffset += mLastReadSize;
        return mLastReadSize;
    }
    const uint8_t* bytes = NextCached(size);
    if (bytes == nullptr) {
        if (!Refill()) return mLastReadSize;
        bytes = mBuffer;
        size = std::min(size, static_cast<unsigned long>(mBufferLength));
    }
    // Not memcpy, which compilers may replace by a string instruction: that takes long to get going.
    if (size > 0) memmove(destination, bytes, size);
    mOffset += static_cast<int64_t>(size);
    return static_cast<long>(size);
}

unsigned long FlvFile::ReadFully(unsigned char* destination, unsigned long size) {
    unsigned long delivered = 0;
    while (delivered < size) {
        const long count = ByteRead(destination + delivered, size - delivered);
        if (count < 1) break;
        delivered += static_cast<unsigned long>(count);
    }
    return delivered;
}

void FlvFile::ByteSeek(long position) {
    mOffset = position;
    mBitsLeft = 0;
    mDelivered = true;
    // A record of where in the cache the position lies, meaningless outside it; hence it may wrap and narrow.
    int64_t index;
    (void)__builtin_sub_overflow(position, mBufferOffset, &index);
    mBufferPos = static_cast<int32_t>(index);
}

unsigned int FlvFile::BitRead(int count) {
    unsigned int value = 0;
    // Whole bytes that lie in the cache, the usual case, need not go through their bits.
    const auto size = static_cast<size_t>(count / 8);
    const uint8_t* bytes = mBitsLeft == 0 && count % 8 == 0 && count > 0 ? NextCached(size) : nullptr;
    if (bytes != nullptr) {
        for (size_t i = 0; i < size; ++i)
            value = value << 8 | bytes[i];
        Consume(size);
        return value;
    }
    while (count > 0) {
        if (mBitsLeft == 0) ReadForBit();
        const int take = std::min(mBitsLeft, count);
        mBitsLeft -= take;
        const unsigned int bits = (static_cast<unsigned int>(mBitByte) >> mBitsLeft) & (0xFFu >> (8 - take));
        value = (value << take) | bits;
        count -= take;
    }
    return value;
}

void FlvFile::ReadForBit() {
    const uint8_t* byte = NextCached(1);
    if (byte == nullptr && Refill()) byte = mBuffer;
    if (byte != nullptr) {
        mBitByte = *byte;
        ++mOffset;
    }
    mBitsLeft = 8;
}

// As if byte by byte: the cache is refilled at the first byte that it does not hold.
bool FlvFile::ReadInPieces(uint8_t* destination, size_t size) {
    mBitsLeft = 0;
    while (size > 0) {
        size_t run;
        const uint8_t* bytes = CachedRun(&run);
        if (bytes == nullptr && Delivered() && Refill()) bytes = CachedRun(&run);
        if (bytes == nullptr) {
            memset(destination, mBitByte, size);
            return false;
        }
        run = std::min(run, size);
        memcpy(destination, bytes, run);
        Consume(run);
        destination += run;
        size -= run;
    }
    return true;
}

const uint8_t* FlvFile::ReadTagUnitHeader(uint8_t (&pieces)[kTagUnitHeaderBytes], bool* arrived) {
    const uint8_t* header = NextCached(sizeof(pieces));
    if (header == nullptr) {
        *arrived = ReadInPieces(pieces, sizeof(pieces));
        return pieces;
    }
    *arrived = true;
    Consume(sizeof(pieces));
    return header;
}

bool FlvFile::PeekTagUnitHeader(int64_t offset, uint8_t (&header)[kTagUnitHeaderBytes]) {
    const uint8_t* bytes = Cached(offset, sizeof(header));
    if (bytes != nullptr) {
        memcpy(header, bytes, sizeof(header));
        return true;
    }
    for (size_t arrived = 0; arrived < sizeof(header);) {
        const size_t wanted = sizeof(header) - arrived;
        const int64_t count =
                mSource->readAt(offset + static_cast<int64_t>(arrived), header + arrived, wanted);
        if (!Note(std::min(count, static_cast<int64_t>(wanted)))) return false;
        arrived += static_cast<size_t>(mLastReadSize);
    }
    return true;
}

const uint8_t* FlvFile::CachedRun(size_t* size) const {
    const uint8_t* bytes = Delivered() ? Cached(mOffset, 1) : nullptr;
    *size = bytes == nullptr ? 0 : static_cast<size_t>(mBuffer + mBufferLength - bytes);
    return bytes;
}

void FlvFile::Consume(size_t size) {
    if (size == 0) return;
    mOffset += static_cast<int64_t>(size);
    mBitsLeft = 0;
    mBitByte = mBuffer[mOffset - mBufferOffset - 1];
}

bool FlvFile::ReadBigEndian(int bytes, uint32_t* value) {
    const int64_t start = mOffset;
    const auto size = static_cast<size_t>(bytes);
    *value = 0;
    mBitsLeft = 0;
    // A field is fetched from its own start when the cache does not hold it whole, so the refill brings what
    // follows it as well. A source that delivers less than a field at a time is asked for the rest of it.
    const uint8_t* field = NextCached(size);
    if (field == nullptr) {
        if (!Refill()) return false;
        field = NextCached(size);
    }
    uint8_t pieces[4] = {};
    if (field != nullptr && Delivered()) {
        Consume(size);
    } else if (ReadInPieces(pieces, size)) {
        field = pieces;
    } else {
        mOffset = start;
        return false;
    }
    for (size_t i = 0; i < size; ++i)
        *value = (*value << 8) | field[i];
    return true;
}

}  // namespace FlvReader
