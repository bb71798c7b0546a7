// SPDX-License-Identifier: Apache-2.0
#include "source/FileSource.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <numeric>
#include <thread>
#include <vector>

namespace orvel {
namespace {

constexpr size_t kFileBytes = 4000003;  // two pieces of the mapping, and a part of a page

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

// Pages of files that this process has resident, in bytes.
size_t ResidentFileBytes() {
    size_t all = 0, resident = 0, ofFiles = 0;
    std::ifstream("/proc/self/statm") >> all >> resident >> ofFiles;
    return ofFiles * static_cast<size_t>(sysconf(_SC_PAGESIZE));
}

// A file of 96 MiB, each word of which is its own number, as reading it from a disk leaves it in memory.
class LongFileTest : public testing::Test {
  protected:
    static constexpr size_t kBytes = size_t{96} << 20;
    static constexpr size_t kWords = 512;  // of a read

    void SetUp() override {
        const int file = mkstemp(mPath);
        ASSERT_GE(file, 0);
        std::vector<uint64_t> words(kBytes / sizeof(uint64_t));
        std::iota(words.begin(), words.end(), uint64_t{0});
        ASSERT_EQ(static_cast<ssize_t>(kBytes), write(file, words.data(), kBytes));
        ASSERT_EQ(0, fsync(file));
        ASSERT_EQ(0, posix_fadvise(file, 0, 0, POSIX_FADV_DONTNEED));
        ASSERT_EQ(static_cast<ssize_t>(kBytes), pread(file, words.data(), kBytes, 0));
        close(file);
        std::string error;
        mSource = FileSource::Open(mPath, &error);
        ASSERT_NE(nullptr, mSource) << error;
        mResident = ResidentFileBytes();
    }
    void TearDown() override { unlink(mPath); }

    bool isRight(uint64_t word) {
        uint64_t words[kWords];
        const auto offset = static_cast<off64_t>(word * sizeof(word));
        if (mSource->readAt(offset, words, sizeof(words)) != ssize_t{sizeof(words)}) return false;
        return std::all_of(words, words + kWords, [&](uint64_t read) { return read == word++; });
    }
    size_t wrongJumps(uint64_t state) {
        size_t wrong = 0;
        for (int i = 0; i < 3000; ++i) {
            state = state * 6364136223846793005u + 1442695040888963407u;
            wrong += !isRight((state >> 20) % (kBytes / sizeof(state) - kWords));
        }
        return wrong;
    }
    size_t grownBytes() const { return std::max(ResidentFileBytes(), mResident) - mResident; }

    char mPath[24] = "file-source-XXXXXX";
    android::sp<FileSource> mSource;
    size_t mResident = 0;
};

TEST_F(LongFileTest, PlayingOnAfterJumpsGivesBackWhatTheyMadeResident) {
    size_t wrong[4];
    std::vector<std::thread> readers;
    for (size_t i = 0; i < 4; ++i)
        readers.emplace_back([&, i] { wrong[i] = wrongJumps(i); });
    for (std::thread& reader : readers)
        reader.join();
    EXPECT_THAT(wrong, testing::Each(0));
    for (uint64_t word = 0; word + kWords <= kBytes / sizeof(word); word += kWords)
        ASSERT_TRUE(isRight(word)) << word;
    for (uint64_t word = 0; word + kWords <= kBytes / sizeof(word) / 2; word += kWords)
        ASSERT_TRUE(isRight(word)) << word << " once more";
    EXPECT_LE(grownBytes(), size_t{5} << 20);
}

// As of a file with its audio far behind its video. The kernel's large pages begin some way into a file.
TEST_F(LongFileTest, TwoReadersInTurnsFarApartLeaveNothingBehind) {
    constexpr uint64_t kWordsOfMiB = (1 << 20) / sizeof(kWordsOfMiB), kApart = 26 * kWordsOfMiB + 70000;
    for (uint64_t word = 44 * kWordsOfMiB; kApart + word + kWords <= kBytes / sizeof(word); word += kWords)
        ASSERT_TRUE(isRight(word) && isRight(kApart + word)) << word;
    EXPECT_LE(grownBytes(), size_t{12} << 20);
}

}  // namespace
}  // namespace orvel
