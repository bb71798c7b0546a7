// SPDX-License-Identifier: Apache-2.0
#include <android/log.h>
#include <gtest/gtest.h>

#include "support/Dump.h"
#include "support/FlvBuilder.h"
#include "support/Session.h"

namespace orvel {
namespace {

// How a source cuts its bytes into reads shows in no format, in no sample and in nothing that a seek lands
// on.
TEST(Robustness, ChunkingDoesNotMatter) {
    for (const std::string& file : ProjectFlvFiles()) {
        const Bytes bytes = ReadProjectFile(file);
        const std::string whole = Dump(bytes);
        for (size_t chunk : {1u, 17u, 512u})
            EXPECT_EQ(Dump(bytes, chunk), whole) << file << " by " << chunk;
    }
}

const std::string kFiles[] = {"samples/avc_aac_index.flv", "samples/h263_mp3.flv", "samples/hevc_aac.flv",
                              "tests/data/live_cut.flv"};

// The head of each file, cut at every byte from its end. A cut costs the tag that it falls in, and nothing
// else.
TEST(Robustness, EveryPrefixIsReadToItsEnd) {
    __android_log_set_minimum_priority(ANDROID_LOG_FATAL);
    for (const std::string& file : kFiles) {
        android::sp<MemorySource> source = new MemorySource(ReadProjectFile(file));
        source->bytes().resize(15000);
        Session whole(source);
        const std::vector<Sample> all[] = {ReadAll(whole.video()), ReadAll(whole.audio())};
        ASSERT_FALSE(all[0].empty() || all[1].empty()) << file;
        size_t before[] = {all[0].size(), all[1].size()};
        for (; !source->bytes().empty(); source->bytes().pop_back()) {
            SCOPED_TRACE(file + " cut to " + std::to_string(source->bytes().size()));
            Session session(source);
            android::IMediaSource* const tracks[] = {session.video(), session.audio()};
            for (size_t i = 0; i < 2; ++i) {
                const auto samples = tracks[i] ? ReadAll(tracks[i]) : std::vector<Sample>();
                ASSERT_TRUE(samples.size() == before[i] || samples.size() + 1 == before[i]);
                ASSERT_TRUE(std::equal(samples.begin(), samples.end(), all[i].begin()));
                before[i] = samples.size();
            }
        }
    }
}

// Video and audio by turns: six samples each from the start, and after each seek.
constexpr std::optional<int64_t> kSeeks[] = {{}, 4300000, 700000, 5900000, 60000000};
constexpr size_t kSteps = 12 * std::size(kSeeks);

// What each step delivered, and how many reads the source had seen by the end of opening and of each step.
struct Course {
    std::vector<size_t> calls;
    std::vector<std::optional<Sample>> samples;
};

class Fault : public testing::TestWithParam<std::tuple<std::string, uint32_t>> {
  protected:
    static std::optional<int64_t> SeekOf(size_t i) { return i % 12 < 2 ? kSeeks[i / 12] : std::nullopt; }
    static bool IsAudio(size_t i) { return i % 2 != 0; }

    // Delivers so little a read that the reads lie close together in the file.
    void SetUp() override {
        __android_log_set_minimum_priority(ANDROID_LOG_FATAL);
        mSource = new MemorySource(ReadProjectFile(std::get<0>(GetParam())), std::get<1>(GetParam()));
        mSource->chunk = 353;
        Session session(mSource);
        mAll[0] = ReadAll(session.video());
        mAll[1] = ReadAll(session.audio());
        mHealthy = Perform();
    }

    Course Perform() {
        mSource->calls.clear();
        Session session(mSource);
        Course course{{mSource->calls.size()}, {}};
        for (size_t i = 0; i < kSteps; ++i) {
            auto* track = IsAudio(i) ? session.audio() : session.video();
            course.samples.push_back(track ? Read(track, SeekOf(i)) : std::nullopt);
            course.calls.push_back(mSource->calls.size());
        }
        return course;
    }

    // It ends, with no more than a pass over the file a seek, and every sample is one of its track's, whole
    // and in file order.
    void ExpectTrueSamples(const Course& course) {
        ASSERT_LE(course.calls.back(), 2 * std::size(kSeeks) * mSource->bytes().size() / mSource->chunk);
        std::vector<Sample>::iterator next[] = {mAll[0].begin(), mAll[1].begin()};
        for (size_t i = 0; i < kSteps; ++i) {
            auto& position = next[IsAudio(i)];
            if (SeekOf(i)) position = mAll[IsAudio(i)].begin();
            if (!course.samples[i]) continue;
            position = std::find(position, mAll[IsAudio(i)].end(), *course.samples[i]);
            ASSERT_NE(position++, mAll[IsAudio(i)].end()) << "step " << i;
        }
    }

    // Steps that ended before read n are as ever. When that read alone failed, so are those behind it, but
    // for those of the track that it hit up to its next seek.
    void ExpectHealthyAround(const Course& course, size_t n, bool once) {
        if (course.calls[0] >= n) return;
        const auto ended = std::lower_bound(course.calls.begin() + 1, course.calls.end(), n);
        const auto hit = static_cast<size_t>(ended - course.calls.begin()) - 1;
        bool ill = true;
        for (size_t i = 0; i < (once ? kSteps : hit); ++i) {
            if (i > hit && IsAudio(i) == IsAudio(hit) && SeekOf(i)) ill = false;
            if (i >= hit && IsAudio(i) == IsAudio(hit) && ill) continue;
            ASSERT_TRUE(course.samples[i] == mHealthy.samples[i]) << "step " << i;
        }
    }

    android::sp<MemorySource> mSource;
    Course mHealthy;
    std::vector<Sample> mAll[2];
};

// Of each read in turn: an error or nothing, once or from then on; or a single byte, which changes nothing.
TEST_P(Fault, OfEveryRead) {
    constexpr std::pair<size_t, ssize_t> kAnswers[] = {
            {1, -EIO}, {1, 0}, {SIZE_MAX, -EIO}, {SIZE_MAX, 0}, {1, 1}};
    for (auto [failures, failure] : kAnswers) {
        mSource->failures = failures;
        mSource->failure = failure;
        for (size_t n = 1; n <= mHealthy.calls.back(); ++n) {
            SCOPED_TRACE(testing::Message() << failures << " answers of " << failure << " from read " << n);
            mSource->failAt = n;
            const Course course = Perform();
            ASSERT_NO_FATAL_FAILURE(ExpectTrueSamples(course));
            ASSERT_NO_FATAL_FAILURE(ExpectHealthyAround(course, n, failures == 1));
            ASSERT_TRUE(failure != 1 || course.samples == mHealthy.samples);
        }
    }
}

// Of each read in turn, once or from then on: other bytes than the file had until then. What they make of the
// tags is anybody's guess, but steps that ended before are as ever, and all end after a few passes over a
// file in which every byte may look like a tag.
TEST_P(Fault, OfTheBytes) {
    constexpr std::pair<size_t, uint8_t> kChanges[] = {{1, 0x01}, {SIZE_MAX, 0xFF}};
    const size_t stride = 1 + mHealthy.calls.back() / 30;
    for (auto [failures, change] : kChanges) {
        mSource->failures = failures;
        mSource->change = change;
        for (size_t n = 1; n <= mHealthy.calls.back(); n += n < 20 ? 1 : stride) {
            SCOPED_TRACE(testing::Message() << failures << " changes by " << +change << " from read " << n);
            mSource->failAt = n;
            const Course course = Perform();
            ASSERT_LE(course.calls.back(), 4 * std::size(kSeeks) * mSource->bytes().size());
            ASSERT_NO_FATAL_FAILURE(ExpectHealthyAround(course, n, false));
        }
    }
}

Bytes ConfigurationOf(android::IMediaSource* source) {
    uint32_t type;
    const void* data = nullptr;
    size_t size = 0;
    for (uint32_t key : {android::kKeyAVCC, android::kKeyHVCC, android::kKeyESDS}) {
        if (source && source->getFormat()->findData(key, &type, &data, &size)) break;
    }
    const auto* bytes = static_cast<const uint8_t*>(data);
    return Bytes(bytes, bytes + size);
}

// A read that fails while the file is opened may cost a track, but no tag is taken for the one that carries
// the configuration.
TEST_P(Fault, NeverMakesAWrongConfiguration) {
    mSource->chunk = 1;
    mSource->calls.clear();
    Session healthy(mSource);
    mSource->failures = 1;
    const size_t reads = mSource->calls.size();
    for (mSource->failAt = 1; mSource->failAt <= std::min<size_t>(reads, 1500); ++mSource->failAt) {
        mSource->calls.clear();
        Session session(mSource);
        for (auto track : {&Session::video, &Session::audio}) {
            const Bytes configuration = ConfigurationOf((session.*track)());
            ASSERT_TRUE(configuration.empty() || configuration == ConfigurationOf((healthy.*track)()))
                    << "read " << mSource->failAt;
        }
    }
}

// What a source tells of its size costs at most the samples that lie beyond it.
TEST_P(Fault, OfTheSize) {
    const auto size = static_cast<int64_t>(mSource->bytes().size());
    for (int64_t told :
         {INT64_MIN, int64_t{-1}, int64_t{11}, size / 2, size - 5, size + 1, 3 * size, INT64_MAX}) {
        SCOPED_TRACE(told);
        mSource->reportedSize = told;
        const Course course = Perform();
        ASSERT_NO_FATAL_FAILURE(ExpectTrueSamples(course));
        EXPECT_EQ(course.samples[0] == mHealthy.samples[0], told >= size / 2);
    }
}

INSTANTIATE_TEST_SUITE_P(
        Files, Fault,
        testing::Combine(testing::ValuesIn(kFiles),
                         testing::Values(0u, uint32_t{android::DataSource::kIsCachingDataSource})));

}  // namespace
}  // namespace orvel
