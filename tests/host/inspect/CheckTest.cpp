// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <limits>
#include <nlohmann/json.hpp>
#include <regex>

#include "HostFixture.h"

namespace orvel {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using Json = nlohmann::json;

// A file that nothing is wrong with: 4 key frames of H.263 and 40 tags of MP3 over 4 s.
struct SoundFile {
    explicit SoundFile(double duration = 4, const std::vector<double>& positions = {},
                       const std::vector<double>& times = {}) {
        file.MetaData(duration, positions, times);
        for (uint32_t i = 0; i < 40; ++i) {
            if (i % 10 == 0)
                keyFrames.push_back(static_cast<double>(file.Video(i * 100, 0x12, Bytes(300 + i, 3)) + 4));
            file.Audio(i * 100, 0x2f, Bytes(90 + i, 0x55));
        }
    }
    Bytes bytes() const {
        Bytes bytes = file.Finish();
        bytes[4] = 5;
        return bytes;
    }
    FlvBuilder file;
    std::vector<double> keyFrames;
};

class CheckTest : public HostTest {
  protected:
    // "code@offset" of every finding.
    std::string check(const Bytes& file, int expectedCode, const std::string& options = "") const {
        write("case.flv", file);
        Outcome outcome = run("check --json " + options + " case.flv");
        EXPECT_EQ(expectedCode, outcome.code) << outcome.out << outcome.err;
        std::string all;
        const Json report = Json::parse(outcome.out);
        for (const Json& finding : report["findings"])
            all += finding["code"].get<std::string>() + "@" +
                   std::to_string(finding["offset"].get<int64_t>()) + " ";
        return all;
    }
};

TEST_F(CheckTest, EachFaultHasItsCodeAndOffset) {
    EXPECT_EQ("", check(SoundFile().bytes(), 0, "--strict"));
    EXPECT_EQ("not-flv@0 ", check(Text("FLW") + Bytes(20, 1), 1));
    EXPECT_EQ("not-flv@7 ", check(Text("FLV") + Bytes{1, 5, 0, 0}, 1));
    Bytes flags = SoundFile().bytes();
    flags[4] = 1;
    EXPECT_EQ("header-flags@4 ", check(flags, 0));
    check(flags, 1, "--strict");

    const auto fourth = static_cast<ptrdiff_t>(SoundFile().keyFrames[3]);
    const size_t tag = static_cast<size_t>(fourth);
    const std::string at = std::to_string(fourth);
    Bytes garbage = SoundFile().bytes(), sizes = garbage, empty = garbage, back = garbage, jump = garbage;
    std::fill_n(garbage.begin() + fourth, 20, 0xee);
    EXPECT_EQ("garbage@" + at + " ", check(garbage, 1));
    sizes[tag - 1] ^= 3;
    EXPECT_EQ("previous-tag-size@" + std::to_string(fourth - 4) + " ", check(sizes, 0));
    std::fill_n(empty.begin() + fourth + 1, 3, 0);
    EXPECT_EQ("tag-size@" + at + " ", check(empty, 1));
    back[tag + 5] = 2;  // 3000 ms to 696 ms
    EXPECT_EQ("time-implausible@" + at + " ", check(back, 0));
    jump[tag + 4] = 1;  // 68 s later
    EXPECT_EQ("time-implausible@" + at + " ", check(jump, 0));
    Bytes cut = SoundFile().bytes();
    cut.resize(tag + 100);
    EXPECT_EQ("truncated-tag@" + at + " ", check(cut, 1));
    EXPECT_EQ("duration-wrong@13 ", check(SoundFile(9).bytes(), 0));
    Bytes metadata = SoundFile().bytes();
    metadata[24 + 13] = 0x11;  // the marker behind the name
    EXPECT_THAT(check(metadata, 0), HasSubstr("metadata-broken@37 "));
}

TEST_F(CheckTest, IndexIsComparedWithTheFile) {
    std::vector<double> times = {0, 1, 2, 3}, positions = SoundFile(4, times, times).keyFrames;
    EXPECT_EQ("", check(SoundFile(4, positions, times).bytes(), 0));
    positions[2] += 1;
    times[3] = 1.5;
    EXPECT_EQ("index-misses@13 index-time@13 ", check(SoundFile(4, positions, times).bytes(), 0));
    EXPECT_EQ("index-uneven@13 ", check(SoundFile(4, SoundFile(4, times, {0}).keyFrames, {0}).bytes(), 0));
}

TEST_F(CheckTest, NumbersThatAreNoneAreSaidToBeSo) {
    const double nan = std::numeric_limits<double>::quiet_NaN(), most = std::numeric_limits<double>::max();
    const double infinite = std::numeric_limits<double>::infinity();
    const std::pair<double, std::string> cases[] = {{nan, "(not a number) s"},
                                                    {infinite, "(infinite) s"},
                                                    {-infinite, "(infinite) s"},
                                                    {most, "1.8e+308 s"}};
    for (const auto& [odd, name] : cases) {
        std::vector<double> positions = SoundFile(4, {0, 1, 2}, {0, 1, 2}).keyFrames;
        write("case.flv", SoundFile(odd, {odd, positions[1], positions[2]}, {odd, odd, 2}).bytes());
        ASSERT_EQ(0, run("map --force -o map.svg case.flv").code);
        const std::string svg = read<std::string>("map.svg"), text = run("check case.flv").out;
        for (const std::string& shown : {text, svg}) {
            EXPECT_FALSE(std::regex_search(shown, std::regex("\\b(nan|inf)\\b"))) << shown;
            EXPECT_THAT(shown, testing::Not(testing::ContainsRegex("[0-9]{30}")));
        }
        EXPECT_THAT(text, HasSubstr(name));
    }
}

TEST_F(CheckTest, StreamsWithoutATrackAreNamed) {
    const std::tuple<uint8_t, Bytes, std::string, std::string> cases[] = {
            {9, Text("\x90hvc1") + Bytes(20, 1),
             "HEVC (FourCC hvc1), 1 tag, 25 bytes: its headers are those of Enhanced RTMP", "hevc"},
            {9, Text("\x91") + Text("av01") + Bytes(20, 1), "AV1 (FourCC av01)", "av1"},
            {9, Text("\x91vp09") + Bytes(20, 1), "VP9 (FourCC vp09)", "vp9"},
            {9, Bytes(20, 0x1c), "video HEVC under CodecID 12, 1 tag", "hevc"},
            {9, Bytes(20, 0x1d), "video AV1 under CodecID 13, 1 tag", "av1"},
            {9, Bytes(20, 0x13), "video Screen video: 1 sample, 1 key frame, 20 bytes", "flashsv"},
            {8, Bytes(20, 0x63), "audio Nellymoser, 1 tag", "nellymoser"},
            {8, Bytes(20, 0xb2), "audio Speex, 1 tag", "speex"},
            {8, Bytes(20, 0xc2), "audio unknown codec 12, 1 tag", "unknown"},
            {9,
             Text("\x96\x01"
                  "avc1") +
                     Bytes(20, 1),
             "video multitrack AVC (FourCC avc1)", "h264"},
            {8, Text("\x91Opus") + Bytes(20, 1), "audio Opus (FourCC Opus)", "opus"}};
    for (const auto& [type, data, name, shortName] : cases) {
        FlvBuilder file;
        file.Tag(type, 0, data);
        write("case.flv", file.Finish());
        EXPECT_THAT(run("check case.flv").out, AllOf(HasSubstr(name), HasSubstr(", 1 tag\n")));
        EXPECT_EQ(shortName, Json::parse(run("check --json case.flv").out)["streams"][0]["codec_name"]);
    }
}

TEST_F(CheckTest, RepeatedFindingsAreCounted) {
    SoundFile file;
    file.file.LieAboutPreviousSize(1);
    for (uint32_t i = 0; i < 500; ++i)
        file.file.Audio(4000 + i, 0x2f, Bytes(40, 1));
    write("case.flv", file.bytes());
    std::string out = run("check case.flv").out;
    EXPECT_THAT(out, HasSubstr("PreviousTagSize is 1, and should be 52 (500 times off by -51) -> nothing"));
}

// Each is one finding, however many tags have it.
TEST_F(CheckTest, TagsAreComparedWithTheirCodec) {
    using Edit = void (*)(uint8_t * tag, uint32_t timeMs);
    const std::tuple<std::string, Edit, int, std::string> cases[] = {
            {"avc_aac_index",
             [](uint8_t* t, uint32_t ms) {
                 if (t[0] == 9 && ms > 900) t[11] = static_cast<uint8_t>((t[11] & 0xf0) | (ms / 40 & 15));
             },
             1, "codec-flaps unknown-values "},
            {"avc_aac_index",
             [](uint8_t* t, uint32_t ms) {
                 if (t[0] == 9 && ms > 900) t[11] &= 15;
             },
             1, "unknown-values "},
            {"h263_mp3",
             [](uint8_t* t, uint32_t ms) {
                 if (t[0] == 9 && ms == 1383) t[11] = 2;
             },
             0, "unknown-value "},
            {"avc_aac_index",
             [](uint8_t* t, uint32_t) {
                 if (t[0] == 9 && t[12] == 0) std::copy_n(Bytes{0, 0, 0, 1, 0x67}.begin(), 5, t + 16);
             },
             1, "configuration-broken "},
            {"avc_aac_index",
             [](uint8_t* t, uint32_t) {
                 if (t[0] == 9 && t[12] == 1) std::copy_n(Bytes{0, 0, 0, 1}.begin(), 4, t + 16);
             },
             1, "payload-form "},
            {"h263_mp3",
             [](uint8_t* t, uint32_t) {
                 if (t[0] == 8) t[11] = static_cast<uint8_t>(t[11] ^ 4);
             },
             0, "sound-header "},
            {"h263_mp3",
             [](uint8_t* t, uint32_t) {
                 if (t[0] == 8) t[15] = t[11], std::fill_n(t + 11, 4, uint8_t{0});
             },
             1, "stray-bytes "}};
    for (const auto& [sample, edit, code, expected] : cases) {
        write("case.flv", EditTags("samples/" + sample + ".flv", edit));
        Outcome outcome = run("check --json case.flv");
        EXPECT_EQ(code, outcome.code) << expected;
        std::string found;
        const Json report = Json::parse(outcome.out);
        for (const Json& finding : report["findings"]) {
            const std::string name = finding["code"];
            if (name.rfind("index", 0) != 0 && name.rfind("no-", 0) != 0) found += name + " ";
            EXPECT_NE("", finding["advice"]);
        }
        EXPECT_EQ(expected, found);
    }
}

TEST_F(CheckTest, MapShowsWhatIsThere) {
    Bytes file = ReadProjectFile("samples/avc_aac_index.flv");
    std::fill_n(file.begin() + 150000, 20000, 0xee);
    write("a<b&.flv", file);
    ASSERT_EQ(0, run("map 'a<b&.flv' -o map.svg").code);
    std::string svg = read<std::string>("map.svg");
    EXPECT_EQ(0, shell("python3 -c \"import xml.dom.minidom as m; m.parse('map.svg')\"").code);
    for (const char* text : {"a&lt;b&amp;.flv", "damaged: 1 error", ">lost<", "13 of 14 index entries"})
        EXPECT_THAT(svg, HasSubstr(text));
    EXPECT_EQ(svg, run("map 'a<b&.flv' -o -").out);
    EXPECT_EQ(3, run("map 'a<b&.flv' -o map.svg").code);
}

}  // namespace
}  // namespace orvel
