// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "av/AvModule.h"
#include "writer/AtomicFile.h"

namespace orvel {

// A container's bytes into a file, which the caller owns and commits.
class FileSink : public ByteSink {
  public:
    explicit FileSink(AtomicFile& file) : mFile(file) {}
    bool canSeek() const override { return true; }
    void write(uint64_t offset, ByteSpan bytes) override;

  private:
    AtomicFile& mFile;
};

// A container's bytes to standard output, in order.
class StandardOutputSink : public ByteSink {
  public:
    bool canSeek() const override { return false; }
    void write(uint64_t offset, ByteSpan bytes) override;
};

}  // namespace orvel
