// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <exception>

#include "Pointers.h"
#include "av/AvModule.h"

namespace orvel {

// A ByteSink as the libraries' byte stream. What the sink throws cannot pass through them: it is kept, the
// library is told of an error, and rethrow() throws it to the caller.
class SinkStream {
  public:
    explicit SinkStream(ByteSink& sink);
    SinkStream(const SinkStream&) = delete;
    SinkStream& operator=(const SinkStream&) = delete;

    AVIOContext* get() const { return mIo.get(); }
    void rethrow();

  private:
    static int Write(void* self, uint8_t* data, int size);
    static int64_t Seek(void* self, int64_t offset, int whence);
    int64_t seek(int64_t offset, int whence);

    ByteSink& mSink;
    IoPointer mIo;
    int64_t mPosition = 0;
    int64_t mSize = 0;
    std::exception_ptr mThrown;
};

}  // namespace orvel
