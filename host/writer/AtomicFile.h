// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <string>
#include <vector>

#include "support/ByteSpan.h"

namespace orvel {

// A file that appears whole or not at all: written under another name in the same folder, brought to the
// disk, and renamed. Whatever was not committed is removed by the destructor, or by a signal that ends the
// process (SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGXFSZ, SIGXCPU, unless ignored when the first file was made).
// Every failure throws Failure (kInputOutput) with the path and the reason.
class AtomicFile {
  public:
    enum class Existing {
        kKeep,     // a file of that name, also one that comes up meanwhile, is a failure
        kReplace,  // its place is taken
    };

    AtomicFile(const std::string& path, Existing existing);
    ~AtomicFile();
    AtomicFile(const AtomicFile&) = delete;
    AtomicFile& operator=(const AtomicFile&) = delete;

    // Appends.
    void write(ByteSpan bytes);
    // Overwrites bytes that have been written, such as a header that wants numbers known at the end.
    void overwrite(uint64_t offset, ByteSpan bytes);

    // Gives the file its name. Nothing may be written afterwards.
    void commit();

    const std::string& path() const { return mPath; }
    uint64_t size() const { return mFlushed + mBuffer.size(); }

  private:
    int openTemporary();  // 0 or an errno value
    void flush();
    void writeFully(ByteSpan bytes, uint64_t offset);
    void rename();
    void discard();
    [[noreturn]] void fail(int error) const;

    const std::string mPath;
    const Existing mExisting;
    std::string mTemporary;
    size_t mSlot;  // in the list of what a signal removes
    int mDescriptor = -1;
    uint64_t mFlushed = 0;
    std::vector<uint8_t> mBuffer;
};

}  // namespace orvel
