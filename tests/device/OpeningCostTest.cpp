// SPDX-License-Identifier: Apache-2.0
#include <android/log.h>
#include <gtest/gtest.h>

#include <numeric>

#include "FlvExtractor.h"
#include "HeapCounter.h"
#include "support/Dump.h"
#include "support/OpenedReader.h"

namespace orvel {
namespace {

// The usable size of a block is at most this much more than what was asked for.
constexpr size_t kRounding = 23;

// Opening keeps the reader, what it found and the formats, and for a moment what these are made of: one copy
// of a configuration more, and the half of an index array from which it grew.
void ExpectCost(const std::string& name, const Bytes& file) {
    const OpenedReader reader(file);
    const size_t configurations = reader.flv.mVideoSpecificInfoSize + reader.flv.mAudioSpecificInfoSize;
    const size_t array = reader.flv.mKeyFrameTimes.capacity() * sizeof(double);

    const android::sp<MemorySource> source = new MemorySource(file);
    source->calls.reserve(1000);
    const HeapCounter heap;
    const android::sp<android::MediaExtractor> extractor = android::createInstance(source, nullptr);
    const size_t peak = heap.peak(), kept = heap.live();

    const size_t rounding = heap.allocations() * kRounding;
    const size_t format = sizeof(android::MetaData) + 40;  // and its row in the table, MIME type, descriptor
    const size_t expected = sizeof(android::FlvExtractor) + sizeof(FlvReader::CFlv) +
                            sizeof(FlvReader::FlvFile) + 2 * configurations + 2 * array +
                            extractor->countTracks() * format;
    EXPECT_LE(kept, expected + rounding) << name;
    EXPECT_LE(peak, expected + configurations + array / 2 + rounding) << name;
}

TEST(OpeningCost, IsTheReaderItsFindingsAndTheFormats) {
    __android_log_set_minimum_priority(ANDROID_LOG_FATAL);
    for (const std::string& file : ProjectFlvFiles())
        ExpectCost(file, ReadProjectFile(file));

    FlvBuilder indexed, configured;
    std::vector<double> entries(20000);
    std::iota(entries.begin(), entries.end(), 1000);
    indexed.MetaData(40000, entries, entries);
    ExpectCost("large index", indexed.Finish());
    configured.Nal(0, 0x17, 0, 0, AvcRecord() + Bytes(100000, 7));
    configured.Audio(0, 0xAF, Bytes(50000, 0));
    ExpectCost("large configurations", configured.Finish());
}

}  // namespace
}  // namespace orvel
