// SPDX-License-Identifier: Apache-2.0
#include "source/FileSource.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <unistd.h>

#include <fstream>
#include <vector>

namespace orvel {
namespace {

constexpr size_t kFileBytes = 4000003;  // several pieces of the mapping, and a part of a page

class FileSourceTest : public testing::Test {
  protected:
    void SetUp() override {
        const int file = mkstemp(mPath);
        ASSERT_GE(file, 0);
        for (size_t i = 0; i < kFileBytes; ++i)
            mBytes[i] = static_cast<uint8_t>(i * 2654435761u >> 13);
        ASSERT_EQ(static_cast<ssize_t>(kFileBytes), write(file, mBytes.data(), kFileBytes));
        close(file);
        std::string error;
        mSource = FileSource::Open(mPath, &error);
        ASSERT_NE(nullptr, mSource) << error;
    }
    void TearDown() override { unlink(mPath); }

    // How many right bytes a read delivers, or its negative result; -1000 for a wrong byte.
    ssize_t read(off64_t offset, size_t size) {
        std::vector<uint8_t> data(size);
        const ssize_t count = mSource->readAt(offset, data.data(), size);
        const bool isRight = count < 1 || memcmp(data.data(), &mBytes[static_cast<size_t>(offset)],
                                                 static_cast<size_t>(count)) == 0;
        return isRight ? count : -1000;
    }

    char mPath[24] = "file-source-XXXXXX";
    std::vector<uint8_t> mBytes = std::vector<uint8_t>(kFileBytes);
    android::sp<FileSource> mSource;
};

TEST_F(FileSourceTest, DeliversEveryRangeAndShortAtTheEnd) {
    for (size_t size : {1u, 15u, 4096u, 524288u, 3000000u}) {
        for (off64_t offset : {0, 1, 524287, 524288, 1048570, 2999999})
            EXPECT_EQ(static_cast<ssize_t>(std::min(size, kFileBytes - static_cast<size_t>(offset))),
                      read(offset, size))
                    << size << " at " << offset;
    }
    for (off64_t offset = 1600000; offset < 1800000; offset += 4000)
        EXPECT_EQ(4096, read(offset, 4096)) << "where a reader goes on after a jump, at " << offset;
    EXPECT_EQ(3, read(kFileBytes - 3, 4096));
    EXPECT_EQ(0, read(kFileBytes, 1));
    EXPECT_EQ(android::BAD_VALUE, read(-1, 1));
}

// A page that a shortened file has lost ends a process that touches it in memory.
TEST_F(FileSourceTest, AFileThatShrinksDeliversShort) {
    EXPECT_EQ(4096, read(3000000, 4096));
    ASSERT_EQ(0, truncate(mPath, 1000000));
    EXPECT_EQ(4096, read(3, 4096));
    EXPECT_EQ(0, read(3000000, 4096));
    EXPECT_EQ(100, read(999900, 4096));
    EXPECT_EQ(1000000, read(0, 3000000));
    EXPECT_EQ(4096, read(7, 4096)) << "a failed read must not spoil the next one";
}

TEST_F(FileSourceTest, OnlyASourcesOwnReadsAreRescued) {
    EXPECT_EQ(4096, read(0, 4096));
    const int file = open(mPath, O_RDONLY);
    void* mapped = mmap(nullptr, kFileBytes, PROT_READ, MAP_SHARED, file, 0);
    close(file);
    ASSERT_EQ(0, truncate(mPath, 0));
    EXPECT_DEATH(_exit(*static_cast<volatile uint8_t*>(mapped)), "");
    munmap(mapped, kFileBytes);
}

}  // namespace
}  // namespace orvel
