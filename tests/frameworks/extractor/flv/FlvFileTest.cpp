// SPDX-License-Identifier: Apache-2.0
#include "support/OpenedReader.h"

using namespace orvel;
using FlvReader::FlvFile;

// Reads as each step asks: "POSITION SIZE:", then the result and the calls that the source gets. The source
// fails where a negative result is wanted of it.
static void ExpectReads(FlvFile& file, MemorySource& source, const std::string& steps) {
    std::istringstream input(steps);
    for (std::string wanted; std::getline(input >> std::ws, wanted, ';');) {
        const long position = std::stol(wanted);
        Bytes got(std::stoul(wanted.substr(wanted.find(' '))));
        source.calls.clear();
        source.failAt = wanted.find(": -") != std::string::npos ? 1 : 0;
        file.ByteSeek(position);
        const long result = file.ByteRead(got.data(), got.size());
        EXPECT_EQ(file.mOffset, position + std::max(result, 0L));
        EXPECT_EQ(file.Delivered(), result > 0);
        for (long i = 0; i < result; ++i)
            EXPECT_EQ(got[static_cast<size_t>(i)], source.bytes()[static_cast<size_t>(position + i)]);
        std::string text = wanted.substr(0, wanted.find(':') + 2) + std::to_string(result);
        for (const auto& call : source.calls)
            text += " " + std::to_string(call.offset) + "+" + std::to_string(call.size);
        EXPECT_EQ(text, wanted);
    }
}

TEST(FlvFile, AsksTheSourceForExactlyTheseBytes) {
    Bytes bytes(10000);
    for (size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<uint8_t>(i * 7 + i / 256 * 3 + 1);
    const OpenedReader reader(bytes);
    FlvFile file(reader.source);
    ExpectReads(file, *reader.source,
                "0 4095: 4095 0+4096; 4095 1: 1; 4090 10: 10 4090+4096; 8184 2: 2; 4096 4096: 4096 4096+4096;"
                "4091 2: 2; 4089 1: 1 4089+4096; 8190 100: 100 8190+1810; 9990 100: 10 9990+10; 10000 1: 0;"
                "9000 5000: 1000 9000+5000; 10000 4096: 0 10000+4096; 10001 1: 0; -1 1: 0; -4000 5000: 0;"
                "9991 9: 9; 0 10: 10 0+4096; 4500 10: -1004 4500+4096; 4 2: 2; 4500 4096: -1004 4500+4096;"
                "5 2: 2; 4500 10: 10 4500+4096");
    for (const int64_t size : {-1, 10000}) {
        reader.source->reportedSize = size;
        reader.source->sizeStatus = size < 0 ? 0 : -EIO;
        FlvFile empty(reader.source);
        ExpectReads(empty, *reader.source, "0 1: 0");
        EXPECT_EQ(empty.mFileSize, 0);
    }
}

TEST(FlvFile, BitsGoAcrossBytesAndAreDroppedByByteReadsAndSeeks) {
    const OpenedReader reader(Hex("A53C464C5681020394"));
    FlvFile& file = *reader.flv.mFile;
    const auto expect = [&file](std::initializer_list<std::pair<int, uint32_t>> fields) {
        for (const auto& [count, value] : fields)
            EXPECT_EQ(file.BitRead(count), value);
    };
    file.ByteSeek(0);
    expect({{4, 0xA}, {0, 0}, {1, 0}});
    unsigned char byte;
    EXPECT_EQ(file.ByteRead(&byte, 1), 1);
    expect({{24, 0x464C56}, {32, 0x81020394}});
    file.ByteSeek(byte - 0x3B);
    expect({{3, 1}, {13, 0x1C46}, {2, 1}});
    file.ByteSeek(7);
    expect({{16, 0x0394}, {12, 0x949}, {4, 4}});  // what cannot be read repeats the byte before
    EXPECT_EQ(file.mOffset, 9);
    EXPECT_EQ(reader.source->calls.size(), 1u);
    uint32_t value = 1;
    file.ByteSeek(6);
    EXPECT_FALSE(file.ReadBigEndian(4, &value));  // a field arrives whole or not at all
    EXPECT_TRUE(value == 0 && file.mOffset == 6);
}
