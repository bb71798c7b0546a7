// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <string>

#include "source/MappedFile.h"
#include "source/ReportingSource.h"

namespace orvel {

// A local file as a DataSource: a regular file or a block device, that is, anything with bytes at offsets.
// Reads leave no position behind, so they may be made from several threads at once. The size is the one at
// opening: a file that grows is read up to there, one that shrinks delivers short.
class FileSource : public ReportingSource {
  public:
    // Null when the path cannot be opened or has no offsets (a pipe, a terminal, a folder); *error then says
    // why.
    static android::sp<FileSource> Open(const std::string& path, std::string* error);

    android::status_t initCheck() const override;
    // Delivers short only at the end of the file. BAD_VALUE for a negative offset, the negative errno value
    // of a read that failed.
    ssize_t readAt(off64_t offset, void* data, size_t size) override;
    android::status_t getSize(off64_t* size) override;
    uint32_t flags() override;
    android::String8 toString() override;

    // What the last failed read failed of; empty when none has.
    std::string lastError() const override;

  protected:
    ~FileSource() override;

  private:
    FileSource(int descriptor, off64_t size, const std::string& path);

    ssize_t readDescriptor(off64_t offset, void* data, size_t wanted);

    const int mDescriptor;
    const off64_t mSize;
    const std::string mPath;
    MappedFile mMapped;
    std::atomic<int> mErrno{0};
};

}  // namespace orvel
