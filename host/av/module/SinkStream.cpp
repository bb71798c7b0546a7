// SPDX-License-Identifier: Apache-2.0
#include "SinkStream.h"

#include <stdio.h>

#include <algorithm>
#include <utility>

#include "Errors.h"

namespace orvel {
namespace {

constexpr int kBufferSize = 64 * 1024;

}  // namespace

SinkStream::SinkStream(ByteSink& sink) : mSink(sink) {
    auto* buffer = static_cast<uint8_t*>(CheckAllocated(av_malloc(kBufferSize)));
    mIo.reset(avio_alloc_context(buffer, kBufferSize, 1, this, nullptr, Write,
                                 sink.canSeek() ? Seek : nullptr));
    if (mIo != nullptr) return;
    av_free(buffer);
    throw std::bad_alloc();
}

void SinkStream::rethrow() {
    if (mThrown) std::rethrow_exception(std::exchange(mThrown, nullptr));
}

int SinkStream::Write(void* self, uint8_t* data, int size) {
    auto* stream = static_cast<SinkStream*>(self);
    if (stream->mThrown) return AVERROR(EIO);
    try {
        stream->mSink.write(static_cast<uint64_t>(stream->mPosition),
                            ByteSpan(data, static_cast<size_t>(size)));
    } catch (...) {
        stream->mThrown = std::current_exception();
        return AVERROR(EIO);
    }
    stream->mPosition += size;
    stream->mSize = std::max(stream->mSize, stream->mPosition);
    return size;
}

int64_t SinkStream::Seek(void* self, int64_t offset, int whence) {
    return static_cast<SinkStream*>(self)->seek(offset, whence);
}

int64_t SinkStream::seek(int64_t offset, int whence) {
    if (whence == AVSEEK_SIZE) return mSize;
    int64_t target = whence == SEEK_CUR ? mPosition + offset : whence == SEEK_END ? mSize + offset : offset;
    if (target < 0 || target > mSize) return AVERROR(EINVAL);
    return mPosition = target;
}

}  // namespace orvel
