// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <cstdlib>

#include "FlvSource.h"
#include "support/FlvBuilder.h"
#include "support/Session.h"

namespace orvel {
namespace {

using android::DataSource;
using android::FlvSource;
using android::sp;

struct TagInfo {
    int64_t slot;
    uint8_t type;
    uint32_t size;
};

std::vector<TagInfo> WalkTags(const Bytes& file) {
    std::vector<TagInfo> tags;
    for (size_t slot = 9; slot + 15 <= file.size();) {
        const auto at = [&](size_t i) { return uint32_t{file[slot + i]}; };
        const uint32_t size = at(5) << 16 | at(6) << 8 | at(7);
        if (slot + 15 + size > file.size()) break;
        tags.push_back({static_cast<int64_t>(slot), file[slot + 4], size});
        slot += 15 + size;
    }
    return tags;
}

// A sample with the slot of the tag it came from, from a scan of the whole track.
struct ScannedSample : Sample {
    int64_t slot;
};

std::vector<ScannedSample> Scan(const Bytes& file, android::IMediaSource* source, uint8_t type) {
    std::vector<ScannedSample> samples;
    std::vector<TagInfo> tags = WalkTags(file);
    source->start();
    auto tag = tags.begin();
    while (auto sample = Read(source)) {
        // The payload's last byte is the tag's, and start codes change only lengths.
        const auto isSource = [&](const TagInfo& t) {
            const size_t end = static_cast<size_t>(t.slot) + 15 + t.size;
            return t.type == type && t.size > sample->data.size() && file[end - 1] == sample->data.back() &&
                   t.size - sample->data.size() <= 5;
        };
        tag = std::find_if(tag, tags.end(), isSource);
        EXPECT_NE(tag, tags.end());
        if (tag == tags.end()) break;
        samples.push_back({*sample, tag->slot});
        ++tag;
    }
    return samples;
}

bool Suits(const ScannedSample& sample, bool video, int64_t targetMs) {
    return (!video || sample.sync) && sample.timeUs / 1000 <= targetMs;
}

int64_t Estimate(const Bytes& file, int64_t targetMs, uint32_t durationMs) {
    const double share = static_cast<double>(targetMs) / durationMs;
    return static_cast<int64_t>(9 + share * static_cast<double>(file.size() - 9));
}

// The audio or video tag that resynchronisation finds: its type byte is the first at or behind the position.
int64_t Landing(const std::vector<TagInfo>& tags, int64_t position) {
    for (const TagInfo& tag : tags) {
        if (tag.slot + 4 >= position && tag.type != 18 && tag.size > 0) return tag.slot;
    }
    return -1;
}

// Where a seek lands on a local file without an index; -1 = end of stream.
int PlainOracle(const Bytes& file, const std::vector<ScannedSample>& samples, bool video, int64_t targetMs,
                uint32_t durationMs) {
    const int64_t landing = Landing(WalkTags(file), Estimate(file, targetMs, durationMs));
    int suitable = 0;
    for (size_t i = 0; landing >= 0 && i < samples.size(); ++i) {
        if (Suits(samples[i], video, targetMs)) suitable = static_cast<int>(i);
        if (samples[i].slot >= landing && samples[i].timeUs / 1000 >= targetMs) return suitable;
    }
    return -1;
}

// The same on a caching source: passes from ever farther back, each reading forward until a suitable sample
// later than the target.
int BackOffOracle(const Bytes& file, const std::vector<ScannedSample>& samples, bool video, int64_t targetMs,
                  uint32_t durationMs) {
    const auto tags = WalkTags(file);
    int64_t estimate = Estimate(file, targetMs, durationMs);
    for (int64_t step = video ? 131072 : 65536;; step *= 2) {
        estimate = std::max<int64_t>(estimate - step, 9);
        const bool last = estimate == 9;
        estimate = Landing(tags, estimate);
        if (estimate < 0) return -1;
        size_t probe = 0;
        while (probe < samples.size() && samples[probe].slot < estimate)
            ++probe;
        if (probe == samples.size()) return -1;
        if (samples[probe].timeUs / 1000 <= targetMs) {
            int remembered = -1;
            size_t i = probe + 1;
            for (; i < samples.size(); ++i) {
                if (video && !samples[i].sync) continue;
                if (samples[i].timeUs / 1000 > targetMs) break;
                remembered = static_cast<int>(i);
            }
            if (i == samples.size()) return -1;
            if (remembered >= 0) return remembered;
        }
        if (last) return 0;
    }
}

// The file without what makes its key-frame index usable.
Bytes WithoutIndex(Bytes file) {
    const Bytes name = Text("filepositions");
    auto at = std::search(file.begin(), file.end(), name.begin(), name.end());
    if (at != file.end()) *at = 'F';
    return file;
}

void ExpectLanding(android::IMediaSource* source, const std::vector<ScannedSample>& samples, int64_t timeUs,
                   int expected) {
    SCOPED_TRACE("seek to " + std::to_string(timeUs) + " us");
    const auto landed = Read(source, timeUs);
    ASSERT_EQ(landed.has_value(), expected >= 0);
    if (!landed) {
        EXPECT_FALSE(Read(source));
        return;
    }
    const auto index = static_cast<size_t>(expected);
    ASSERT_EQ(Describe(*landed), Describe(samples[index]));
    const auto next = Read(source);
    ASSERT_EQ(next.has_value(), index + 1 < samples.size());
    if (next) {
        EXPECT_EQ(Describe(*next), Describe(samples[index + 1]));
    }
}

std::vector<int64_t> SeekTimes(int64_t durationUs) {
    std::vector<int64_t> times = {-1, 0, 1, 499, 500, durationUs / 2, 7, durationUs, durationUs + 20000000,
                                  3};
    for (int64_t i = 0; i < 60; ++i)
        times.push_back((i * 7919 % 61) * durationUs / 60 + i * 137);
    times.push_back(times.back());
    return times;
}

class SeekOracle : public testing::TestWithParam<const char*> {};

TEST_P(SeekOracle, LandsWhereAFullScanSays) {
    const Bytes file = WithoutIndex(ReadProjectFile(GetParam()));
    for (const bool caching : {false, true}) {
        const uint32_t flags = caching ? static_cast<uint32_t>(DataSource::kIsCachingDataSource) : 0;
        Session session(file, flags);
        for (const bool video : {true, false}) {
            SCOPED_TRACE(std::string(caching ? "caching" : "local") + (video ? " video" : " audio"));
            auto* source = video ? session.video() : session.audio();
            if (source == nullptr) continue;
            // Without a picture size a caching source believes no candidate at all.
            if (caching && session.video() == nullptr) continue;
            const auto samples = Scan(file, source, video ? 9 : 8);
            int64_t durationUs = 0;
            ASSERT_TRUE(source->getFormat()->findInt64(android::kKeyDuration, &durationUs));
            for (const int64_t timeUs : SeekTimes(durationUs)) {
                const int64_t targetMs = (timeUs + 500) / 1000;
                int expected = 0;
                if (timeUs >= 1) {
                    const auto oracle = caching ? BackOffOracle : PlainOracle;
                    expected =
                            oracle(file, samples, video, targetMs, static_cast<uint32_t>(durationUs / 1000));
                }
                ExpectLanding(source, samples, timeUs, expected);
                if (HasFatalFailure()) return;
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Files, SeekOracle,
                         testing::Values("samples/avc_aac_index.flv", "samples/h263_mp3.flv",
                                         "samples/hevc_aac.flv", "tests/data/h264_baseline_mp3.flv",
                                         "tests/data/flv1_pcm_s16le.flv", "tests/data/h264_videoonly.flv"));

constexpr uint8_t kKey = 0x12, kInter = 0x22;

// A minute of H.263, a key frame every 2 s, and MP3 every second behind each frame, with or without an index.
struct IndexedFile {
    explicit IndexedFile(size_t entries, double lastDeclared = -1, std::vector<double> wrongPositions = {}) {
        Build({}, {});
        std::vector<double> positions, times;
        for (size_t i = 0; i < entries; ++i) {
            positions.push_back(0);
            times.push_back(2.0 * static_cast<double>(i));
        }
        Build(positions, times);
        for (size_t i = 0; i < entries; ++i)
            positions[i] = static_cast<double>(keySlots[i] + 4);
        for (size_t i = 0; i < wrongPositions.size(); ++i)
            positions[i] = wrongPositions[i];
        if (lastDeclared >= 0) times.back() = lastDeclared;
        Build(positions, times);
    }

    void Build(const std::vector<double>& positions, const std::vector<double>& times) {
        FlvBuilder flv;
        keySlots.clear();
        flv.MetaData(60, positions, times);
        for (uint32_t second = 0; second < 60; ++second) {
            const bool key = second % 2 == 0;
            const Bytes picture =
                    Bytes{0x00, 0x00, 0x84, 0x02, 0x80} + Bytes(200, static_cast<uint8_t>(second));
            const int64_t slot = flv.Video(second * 1000, key ? kKey : kInter, picture);
            if (key) keySlots.push_back(slot);
            flv.Audio(second * 1000 + 5, 0x2F, Bytes(50, static_cast<uint8_t>(second)));
        }
        bytes = flv.Finish();
    }

    Bytes bytes;
    std::vector<int64_t> keySlots;
};

TEST(SeekIndex, PicksTheFrameThatItsSearchFinds) {
    Session session(IndexedFile(10).bytes);
    const struct {
        double seekSeconds;
        int64_t keySeconds;
    } cases[] = {{0.4, 0}, {1.9, 0}, {3, 4},   {5.9, 4}, {7.2, 6},  {9, 10},
                 {13, 12}, {15, 16}, {17, 16}, {18, 18}, {28.9, 18}};
    for (const auto& c : cases) {
        const auto timeUs = static_cast<int64_t>(c.seekSeconds * 1e6);
        EXPECT_EQ(Read(session.video(), timeUs)->timeUs, c.keySeconds * 1000000) << c.seekSeconds;
        EXPECT_EQ(Read(session.audio(), timeUs)->timeUs, c.keySeconds * 1000000 + 5000) << c.seekSeconds;
        EXPECT_EQ(Read(session.video())->timeUs, (c.keySeconds + 1) * 1000000) << c.seekSeconds;
    }
}

TEST(SeekIndex, IsIgnoredWhenItCannotAnswer) {
    const struct {
        const char* name;
        Bytes bytes;
        int64_t seekSeconds, landsSeconds;
    } cases[] = {
            {"11 s behind the last entry", IndexedFile(10).bytes, 29, 28},
            {"9 entries", IndexedFile(9).bytes, 9, 8},
            {"unequal lengths", WithoutIndex(IndexedFile(10).bytes), 9, 8},
    };
    for (const auto& c : cases) {
        Session session(c.bytes);
        EXPECT_EQ(Read(session.video(), c.seekSeconds * 1000000)->timeUs, c.landsSeconds * 1000000) << c.name;
    }
}

// Whatever an entry points at, a seek ends, delivers bytes of the file or the end of the stream, and leaves
// the other track where it was.
TEST(SeekIndex, FalsifiedEntriesAreHarmless) {
    const IndexedFile right(12);
    const auto size = static_cast<double>(right.bytes.size());
    const double inTag = static_cast<double>(right.keySlots[5] + 60);
    const double audioTag = static_cast<double>(right.keySlots[5] + 4 + 15 + 206);
    const double wrongs[] = {
            0,        15,   16,       17,  -1,    inTag,  audioTag,
            size - 4, size, size + 1, 4e9, 1e300, -1e300, std::numeric_limits<double>::infinity()};
    const size_t tags = WalkTags(right.bytes).size();
    for (const double wrong : wrongs) {
        for (size_t entry = 0; entry < 12; ++entry) {
            std::vector<double> positions;
            for (size_t i = 0; i <= entry; ++i) {
                positions.push_back(i == entry ? wrong : static_cast<double>(right.keySlots[i] + 4));
            }
            for (const uint32_t flags : {0u, static_cast<uint32_t>(DataSource::kIsCachingDataSource)}) {
                sp<MemorySource> source = new MemorySource(IndexedFile(12, -1, positions).bytes, flags);
                Session session(source);
                const auto second = Read(session.audio());
                source->calls.clear();
                Read(session.video(), static_cast<int64_t>(entry) * 2000000);
                EXPECT_LT(source->calls.size(), 4 * tags) << wrong;
                EXPECT_EQ(Read(session.audio())->timeUs, second->timeUs + 1000000)
                        << wrong << " at " << entry;
            }
        }
    }
}

// PreviousTagSize fields that cannot be walked send a seek to the passes, which land alike.
TEST(SeekSlowly, LyingPreviousTagSizes) {
    struct Lie {
        const char* name;
        uint32_t size;
        uint32_t fromSecond;
    };
    const Lie lies[] = {{"all zero", 0, 0},
                        {"all the same", 15, 0},
                        {"huge", 0xFFFFFFFF, 0},
                        {"zero later", 0, 20},
                        {"wrong later", 77, 20},
                        {"huge later", 0xFFFFFFFF, 20},
                        {"to itself later", 4294967292u, 20}};
    for (const Lie& lie : lies) {
        SCOPED_TRACE(lie.name);
        FlvBuilder flv;
        flv.MetaData(60);
        for (uint32_t second = 0; second < 60; ++second) {
            if (second == lie.fromSecond) flv.LieAboutPreviousSize(lie.size);
            if (second == 40) flv.TellTheTruth();
            const Bytes picture = Bytes{0x00, 0x00, 0x84, 0x02, 0x80} + Bytes(2000, 0x55);
            flv.Video(second * 1000, second % 20 == 0 ? kKey : kInter, picture);
            flv.Audio(second * 1000 + 5, 0x2F, Bytes(50, 0x66));
        }
        sp<MemorySource> source = new MemorySource(flv.Finish());
        Session session(source);
        source->calls.clear();
        // Landing earlier than the best sample is allowed on a damaged chain, landing later is not.
        const auto video = Read(session.video(), 39000000);
        ASSERT_TRUE(video);
        EXPECT_TRUE(video->sync);
        EXPECT_LE(video->timeUs, 39000000);
        const auto audio = Read(session.audio(), 45500000);
        ASSERT_TRUE(audio);
        EXPECT_LE(audio->timeUs, 45500000);
        EXPECT_LT(source->calls.size(), 1500u);
    }
}

TEST(SeekSlowly, UnknownOrWrongDurationEnds) {
    for (const double duration : {-1.0, 0.001, 20.0, 1e9}) {
        for (const uint32_t flags : {0u, static_cast<uint32_t>(DataSource::kIsCachingDataSource)}) {
            FlvBuilder flv;
            flv.MetaData(duration);
            for (uint32_t i = 0; i < 300; ++i) {
                const Bytes picture = Bytes{0x00, 0x00, 0x84, 0x02, 0x80} + Bytes(1000, 0x55);
                flv.Video(i * 100, i % 10 == 0 ? kKey : kInter, picture);
            }
            sp<MemorySource> source = new MemorySource(flv.Finish(), flags);
            Session session(source);
            for (const int64_t seconds : {5LL, 15LL, 29LL, 9000000000000LL}) {
                source->calls.clear();
                const auto landed = Read(session.video(), seconds * 1000000);
                EXPECT_LT(source->calls.size(), 2000u) << duration << " " << seconds;
                if (landed) {
                    EXPECT_LE(landed->timeUs, seconds * 1000000) << duration;
                }
                EXPECT_EQ(Read(session.video(), 0)->timeUs, 0);
            }
        }
    }
}

TEST(SeekSlowly, TimeBeforeTheFirstSampleDeliversIt) {
    for (const uint32_t flags : {0u, static_cast<uint32_t>(DataSource::kIsCachingDataSource)}) {
        FlvBuilder flv;
        for (uint32_t i = 0; i < 40; ++i) {
            flv.Audio(5000 + i * 100, 0x2F, Bytes(50, 0x66));
            flv.Video(5000 + i * 100, i % 10 == 0 ? kKey : kInter, Bytes{0x00, 0x00, 0x84, 0x02, 0x80, 0x11});
        }
        Session session(flv.Finish(), flags);
        EXPECT_EQ(Read(session.video(), 2000000)->timeUs, 5000000);
        EXPECT_EQ(Read(session.audio(), 2000000)->timeUs, 5000000);
    }
}

}  // namespace
}  // namespace orvel
