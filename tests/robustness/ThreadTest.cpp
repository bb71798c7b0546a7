// SPDX-License-Identifier: Apache-2.0
#include <android/log.h>
#include <gtest/gtest.h>
#include <stdlib.h>

#include <chrono>
#include <thread>

#include "FlvExtractor.h"
#include "support/FlvBuilder.h"
#include "support/Session.h"

namespace orvel {
namespace {

using namespace android;

constexpr int64_t kSeekTimes[] = {60000000, 9800000, 100000, 5000000, 13900000, 0, 2200000};

// What each track delivers when it is alone.
struct Truth {
    explicit Truth(const sp<DataSource>& source) {
        Session session(source);
        for (size_t track : {0u, 1u}) {
            samples[track] = ReadAll(session.sources[track].get());
            for (int64_t time : kSeekTimes)
                landings[track].push_back(Read(session.sources[track].get(), time));
        }
    }
    std::vector<Sample> samples[2];
    std::vector<std::optional<Sample>> landings[2];
};

// Formats as they are handed out: whole, and with the thumbnail time for whoever asked for it.
void Describe(MediaExtractor* extractor) {
    for (uint32_t turn = 0; turn < 40; ++turn) {
        const sp<MetaData> format = extractor->getTrackMetaData(0, turn % 2);
        const sp<MetaData> shared = turn % 3 != 0 ? format : extractor->getTrack(0)->getFormat();
        int64_t time = 0, duration = 0;
        int32_t width = 0;
        const bool isTold = format->findInt64(kKeyThumbnailTime, &time);
        EXPECT_TRUE(isTold || turn % 2 == 0);
        EXPECT_TRUE(shared->findInt64(kKeyDuration, &duration) && shared->findInt32(kKeyWidth, &width));
        EXPECT_EQ(width, 320);
        EXPECT_EQ(time, isTold ? 3520000 : 0);
        EXPECT_FALSE(extractor->getTrackMetaData(1, turn % 2)->hasData(kKeyThumbnailTime));
    }
}

// One extractor, from whose sources threads read, two of them the same track, while others seek and ask for
// formats.
void Round(const sp<DataSource>& source, const Truth& truth) {
    const sp<MediaExtractor> extractor = createInstance(source, nullptr);
    std::vector<std::thread> threads;
    for (size_t track : {0u, 0u, 1u}) {
        threads.emplace_back([&, track] {
            const sp<IMediaSource> reader = extractor->getTrack(track);
            reader->start();
            EXPECT_TRUE(ReadAll(reader.get()) == truth.samples[track]);
            reader->stop();
        });
    }
    for (size_t track : {0u, 1u}) {
        threads.emplace_back([&, track] {
            const sp<IMediaSource> seeker = extractor->getTrack(track);
            for (size_t i = 0; i < std::size(kSeekTimes); ++i)
                EXPECT_TRUE(Read(seeker.get(), kSeekTimes[i]) == truth.landings[track][i]) << kSeekTimes[i];
        });
    }
    for (int i = 0; i < 3; ++i)
        threads.emplace_back([&] { Describe(extractor.get()); });
    for (std::thread& thread : threads)
        thread.join();
}

std::chrono::seconds Duration() {
    if (const char* seconds = getenv("ORVEL_STRESS_SECONDS")) return std::chrono::seconds(atoi(seconds));
#ifdef __SANITIZE_THREAD__
    return std::chrono::seconds(10);
#else
    return std::chrono::seconds(1);
#endif
}

// For ten seconds where races are found by more than their effect, or as long as ORVEL_STRESS_SECONDS says.
TEST(Threads, ShareAnExtractor) {
    __android_log_set_minimum_priority(ANDROID_LOG_FATAL);
    const Bytes file = ReadProjectFile("samples/avc_aac_index.flv");
    const auto end = std::chrono::steady_clock::now() + Duration();
    int rounds = 0;
    for (uint32_t flags : {uint32_t{0}, uint32_t{DataSource::kIsCachingDataSource}}) {
        const Truth truth(new MemorySource(file, flags));
        ASSERT_EQ(truth.samples[0].size(), 350u);
        const auto half = flags == 0 ? end - Duration() / 2 : end;
        do {
            const sp<MemorySource> source = new MemorySource(file, flags);
            source->chunk = 256;  // slow enough for the threads to meet
            Round(source, truth);
            ++rounds;
        } while (std::chrono::steady_clock::now() < half && !HasFailure());
    }
    printf("%d rounds of eight threads\n", rounds);
}

}  // namespace
}  // namespace orvel
