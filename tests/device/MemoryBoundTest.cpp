// SPDX-License-Identifier: Apache-2.0
#include <android/log.h>
#include <gtest/gtest.h>
#include <media/stagefright/MediaBuffer.h>

#include "FlvExtractor.h"
#include "FlvLimits.h"
#include "HeapCounter.h"
#include "HostileShapes.h"
#include "support/FlvBuilder.h"

namespace orvel {
namespace {

using namespace android;

constexpr size_t kSlack = 16 << 20;

// What a read holds beside the bytes of the sample: the buffer's objects and what the allocator adds to them.
constexpr size_t kReadSlack = 4096;

// Whatever the file: sniffing it, opening it and taking both tracks holds at most its size and 16 MiB at any
// one time, and a read at most the sample and a constant.
void ExpectBounded(const std::string& name, const Bytes& file) {
    const sp<DataSource> source = new MeteredSource(file);
    const HeapCounter opening;
    String8 mime;
    float confidence;
    Sniffer(source, &mime, &confidence, nullptr);
    const sp<MediaExtractor> extractor = createInstance(source, nullptr);
    std::vector<sp<IMediaSource>> tracks;
    for (size_t i = 0; i < extractor->countTracks(); ++i) {
        extractor->getTrackMetaData(i, MediaExtractor::kIncludeExtensiveMetaData);
        tracks.push_back(extractor->getTrack(i));
        tracks.back()->start();
    }
    EXPECT_LE(opening.peak(), file.size() + kSlack) << name;
    printf("%-28s %9zu bytes, %9zu held\n", name.c_str(), file.size(), opening.peak());

    for (const sp<IMediaSource>& track : tracks) {
        for (int i = 0; i < 50; ++i) {
            MediaBuffer* buffer = nullptr;
            const HeapCounter reading;
            const status_t status = track->read(&buffer, nullptr);
            const size_t size = status == OK ? buffer->size() : 0;
            EXPECT_LE(reading.peak(), size + kReadSlack) << name << " read " << i;
            EXPECT_LE(size, file.size()) << name;
            if (status != OK) break;
            buffer->release();
        }
    }
}

// AVC and AAC with a configuration of this many bytes each, and samples behind.
Bytes Configured(size_t size) {
    FlvBuilder file;
    file.Nal(0, 0x17, 0, 0, AvcRecord() + Bytes(size - AvcRecord().size(), 3));
    file.Audio(0, 0xAF, Bytes(size, 0));
    file.Nal(0, 0x17, 1, 0, Bytes(5000, 1));
    file.Audio(0, 0xAF, Bytes(100, 1));
    return file.Finish();
}

// Each parameter set a thousandfold, as small as one can be.
Bytes ParameterSets(size_t size) {
    FlvBuilder file;
    for (uint8_t type : {uint8_t{0x40}, uint8_t{0x42}, uint8_t{0x44}}) {
        Bytes units;
        for (size_t i = 0; units.size() + 5 < size; ++i) {
            for (uint8_t byte : {uint8_t{0}, uint8_t{0}, uint8_t{1}, i % 2 == 0 ? type : uint8_t{0x42}})
                units.push_back(byte);
        }
        file.Nal(0, 0x19, 0, 0, units);
    }
    return file.Finish();
}

// A key-frame index of this many entries a list, each a byte of the file, and then the other list again.
Bytes Index(uint32_t entries) {
    Bytes data = amf::String("onMetaData") + Bytes{8, 0, 0, 0, 1} + amf::Name("k") + Bytes{3};
    for (const char* key : {"times", "filepositions", "timesAgain", "filepositionsAgain"})
        data = data + amf::Name(key) + Bytes{10} + U32(entries) + Bytes(entries, 5);
    FlvBuilder file;
    file.Tag(18, 0, data + amf::End() + amf::End());
    file.Video(0, 0x12, {0, 0, 0x80, 2, 0x80, 0, 0});
    file.Audio(0, 0x2F, {1});
    return file.Finish();
}

TEST(MemoryBound, HoldsForHostileFiles) {
    __android_log_set_minimum_priority(ANDROID_LOG_FATAL);
    for (const HostileShape& shape : HostileShapes())
        ExpectBounded(shape.name, shape.make(2 << 20));
    for (size_t size : {size_t{64} << 10, FlvReader::kMaxConfigurationBytes,
                        FlvReader::kMaxConfigurationBytes + 1, size_t{9} << 20}) {
        ExpectBounded("configurations of " + std::to_string(size), Configured(size));
        ExpectBounded("parameter sets of " + std::to_string(size), ParameterSets(size));
    }
    for (uint32_t entries : {1u << 18, 1u << 20})
        ExpectBounded("index of " + std::to_string(entries), Index(entries));

    FlvBuilder large;
    large.Video(0, 0x12, Bytes{0, 0, 0x80, 2, 0x80, 0, 0} + Bytes(0xFFFF00, 1));
    large.Audio(0, 0x2F, Bytes(0xFFFF00, 1));
    ExpectBounded("the largest tags", large.Finish());
    Bytes cut = large.Finish();
    cut.resize(100);
    ExpectBounded("the largest tag, cut", cut);
}

}  // namespace
}  // namespace orvel
