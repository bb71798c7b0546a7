// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <nlohmann/json.hpp>
#include <random>
#include <sstream>

#include "HostFixture.h"

namespace orvel {
namespace {

using testing::HasSubstr;

struct TagAt {
    size_t begin;  // of the tag
    size_t size;   // of its data
    uint32_t timeMs;
    bool isAudio;

    size_t end() const { return begin + 11 + size; }
};
using Tags = std::vector<TagAt>;

Tags TagsOf(const std::string& pathInProject) {
    Tags tags;
    size_t begin = 13;
    EditTags(pathInProject, [&](const uint8_t* tag, uint32_t timeMs) {
        tags.push_back(
                {begin, static_cast<size_t>(tag[1] << 16 | tag[2] << 8 | tag[3]), timeMs, tag[0] == 8});
        begin = tags.back().end() + 4;
    });
    return tags;
}

Bytes Part(const Bytes& file, size_t from, size_t to) {
    return Bytes(&file[from], &file[to - 1] + 1);
}

Bytes Noise(size_t size) {
    Bytes noise(size);
    std::generate(noise.begin(), noise.end(),
                  [random = std::mt19937(20)]() mutable { return random() & 0xff; });
    return noise;
}

void SetSize(Bytes* file, const TagAt& tag, size_t size) {
    std::copy_n(U24(static_cast<uint32_t>(size)).begin(), 3, &(*file)[tag.begin + 1]);
}

// From a tag on, every time becomes another.
template <typename NewTime>
Bytes Retimed(Bytes file, const Tags& tags, size_t first, NewTime newTime) {
    for (size_t i = first; i < tags.size(); ++i) {
        uint32_t timeMs = newTime(tags[i].timeMs);
        std::copy_n(U24(timeMs & 0xffffff).begin(), 3, &file[tags[i].begin + 4]);
        file[tags[i].begin + 7] = static_cast<uint8_t>(timeMs >> 24);
    }
    return file;
}

struct Fault {
    const char* name;
    Bytes (*make)(Bytes file, const Tags& tags, size_t at);  // at: a tag in the middle
    size_t mostLost;                                         // samples of both streams that are gone
    const char* says;                                        // on standard error
};

constexpr size_t kSpan = 3000;
const Fault kFaults[] = {
        {"inserted",
         [](Bytes f, const Tags& t, size_t at) {
             return Part(f, 0, t[at].end() - 9) + Noise(kSpan) + Part(f, t[at].end() - 9, f.size());
         },
         0, "bytes are not tags; tags resume at"},
        {"missing",
         [](Bytes f, const Tags& t, size_t at) {
             return Part(f, 0, t[at].end() - 9) + Part(f, t[at].end() - 9 + kSpan, f.size());
         },
         12, "bytes are not tags"},
        {"zeroed",
         [](Bytes f, const Tags& t, size_t at) {
             std::fill_n(&f[t[at].begin], kSpan, uint8_t{0});
             return f;
         },
         12, "of them zero; tags resume at"},
        {"garbled",
         [](Bytes f, const Tags& t, size_t at) {
             Bytes n = Noise(kSpan);
             std::copy(n.begin(), n.end(), &f[t[at].begin]);
             return f;
         },
         12, "bytes are not tags"},
        {"size too large",
         [](Bytes f, const Tags& t, size_t at) {
             SetSize(&f, t[at], t[at].size + 5000);
             return f;
         },
         0, "the next tag shows that it has"},
        {"size beyond the end",
         [](Bytes f, const Tags& t, size_t at) {
             SetSize(&f, t[at], 0xfffff0);
             return f;
         },
         0, "the next tag shows that it has"},
        {"size too small",
         [](Bytes f, const Tags& t, size_t at) {
             SetSize(&f, t[at], t[at].size / 2);
             return f;
         },
         0, "the next tag shows that it has"},
        {"size 0",
         [](Bytes f, const Tags& t, size_t at) {
             SetSize(&f, t[at], 0);
             return f;
         },
         0, "the tag's size says 0 bytes"},
        {"cut short",
         [](Bytes f, const Tags& t, size_t) {
             f.resize(t.back().end() - 5);
             return f;
         },
         0, "of which"},
        {"one absurd time",
         [](Bytes f, const Tags& t, size_t at) {
             f[t[at].begin + 7] = 0xa2;
             return f;
         },
         0, "s; it was due at"},
        {"reconnect",
         [](Bytes f, const Tags& t, size_t at) {
             uint32_t b = t[at].timeMs;
             return Retimed(f, t, at, [b](uint32_t ms) { return ms > b ? ms - b : 0; });
         },
         0, "the clock begins anew"},
        {"a day later",
         [](Bytes f, const Tags& t, size_t at) {
             return Retimed(f, t, at, [](uint32_t ms) { return ms + 86400000; });
         },
         0, "the clock begins anew"},
        {"a day off",
         [](Bytes f, const Tags& t, size_t) {
             return Retimed(f, t, 1, [](uint32_t ms) { return ms + 86400000; });
         },
         0, "86400.000 s in the file, 0.000 s"},
        {"32 bits run out",
         [](Bytes f, const Tags& t, size_t at) {
             uint32_t b = t[at].timeMs;
             return Retimed(f, t, 1, [b](uint32_t ms) { return ms - b; });
         },
         0, "out of bits"},
};

class RecoverTest : public HostTest {
  protected:
    // Samples of each stream that extract has written, by its timestamps.
    std::vector<double> times(const std::string& name) const {
        std::istringstream lines(shell("grep -hv '^#' " + name + ".timestamps.txt").out);
        return std::vector<double>(std::istream_iterator<double>(lines), {});
    }
    size_t checked() const {
        size_t samples = 0;
        const auto document = nlohmann::json::parse(run("check --json damaged.flv").out);
        for (const auto& stream : document["streams"])
            samples += stream["nb_packets"].get<size_t>();
        return samples;
    }
};

TEST_F(RecoverTest, EverySampleThatTheTagsHoldComesBackInItsTime) {
    const std::tuple<std::string, std::string, std::string> cases[] = {{"avc_aac_index", ".h264", ".aac"},
                                                                       {"h263_mp3", ".ivf", ".mp3"}};
    for (const auto& [sample, video, audio] : cases) {
        const std::string source = "samples/" + sample + ".flv";
        const Tags tags = TagsOf(source);
        run("extract --timestamps " + kSamples + sample + ".flv");
        const size_t whole = times(sample + video).size() + times(sample + audio).size();
        const double endMs = std::max(times(sample + video).back(), times(sample + audio).back());
        for (const Fault& fault : kFaults) {
            SCOPED_TRACE(sample + ": " + fault.name);
            write("damaged.flv", fault.make(ReadProjectFile(source), tags, tags.size() / 2));
            EXPECT_EQ(1, run("extract --force damaged.flv").code);
            Outcome outcome = run("extract --recover=all --force --timestamps damaged.flv");
            EXPECT_EQ(0, outcome.code);
            EXPECT_THAT(outcome.err, HasSubstr(fault.says));
            const std::vector<double> found[] = {times("damaged" + video), times("damaged" + audio)};
            EXPECT_EQ(checked(), found[0].size() + found[1].size());
            EXPECT_GE(found[0].size() + found[1].size() + fault.mostLost, whole);
            for (const auto& stream : found)
                EXPECT_NEAR(endMs, *std::max_element(stream.begin(), stream.end()), 120);
        }
    }
}

TEST_F(RecoverTest, PicturesWaitForAKeyFrameWhereOthersAreMissing) {
    const std::string source = "samples/avc_aac_index.flv";
    const Tags tags = TagsOf(source);
    const Bytes file = ReadProjectFile(source);
    size_t at = tags.size() / 2;
    while (!tags[at].isAudio)
        ++at;
    Bytes lost = file, sound = file;
    std::fill_n(&lost[tags[at].begin], kSpan, uint8_t{0});
    std::fill_n(&sound[tags[at].begin], 11, uint8_t{0});
    write("lost.flv", lost);
    write("sound.flv", sound);
    for (const char* name : {"lost.flv", "sound.flv"}) {
        const bool isLost = name == std::string("lost.flv");
        Outcome outcome = run(std::string("extract --recover --timestamps --force ") + name);
        EXPECT_EQ(isLost, outcome.err.find(" pictures from ") != std::string::npos) << outcome.err;
    }
    EXPECT_EQ(350u, times("sound.h264").size());
    EXPECT_EQ(603u, times("sound.aac").size());
    EXPECT_LT(times("lost.h264").size(), 350u - 6);
    const Bytes video = read("lost.h264");
    run("extract --recover --force lost.flv <&- 2>&-");
    EXPECT_EQ(video, read("lost.h264"));
}

TEST_F(RecoverTest, FindsAConfigurationWhereverItIs) {
    const Tags tags = TagsOf("samples/avc_aac_index.flv");
    Bytes file = ReadProjectFile("samples/avc_aac_index.flv");
    const auto configuration =
            std::find_if(tags.begin(), tags.end(), [](const TagAt& tag) { return tag.isAudio; });
    file[configuration->begin + 11 + 1] = 1;  // a sample now
    for (const char* options : {"", "--recover "}) {
        write("none.flv", file);
        Outcome outcome = run(std::string("extract --track audio --force ") + options + "none.flv");
        EXPECT_THAT(outcome.err, HasSubstr("the audio track has no AudioSpecificConfig; one is made from"));
        EXPECT_THAT(outcome.out, HasSubstr("605 samples"));
    }
}

TEST_F(RecoverTest, ChangesNothingWhereNothingIsDamaged) {
    for (std::string file : {"samples/avc_aac_index", "samples/h263_mp3", "samples/hevc_aac",
                             "tests/data/ts_cross_24bit", "tests/data/aac_only"}) {
        std::string input = ORVEL_SOURCE_DIR "/" + file + ".flv";
        Outcome plain = run("extract --force -o plain " + input),
                recovered = run("extract --force --recover -o other " + input);
        EXPECT_EQ(0, plain.code);
        EXPECT_EQ("", plain.err + recovered.err) << file;
    }
    EXPECT_EQ("", shell("diff -r plain other").out);
}

}  // namespace
}  // namespace orvel
