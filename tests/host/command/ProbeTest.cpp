// SPDX-License-Identifier: Apache-2.0
#include <nlohmann/json.hpp>

#include "HostFixture.h"

namespace orvel {
namespace {

using testing::HasSubstr;
using testing::MatchesRegex;
using Json = nlohmann::json;

class ProbeTest : public HostTest {};

TEST_F(ProbeTest, UsageErrors) {
    for (std::string arguments :
         {"", "frob", "probe", "probe --wrong x", "probe --seek 1:99 x", "extract --track subtitles x",
          "extract --from 2 --to 2 x", "extract --from=-1 x", "remux -r . a.mkv", "map . -o a.svg -r"}) {
        Outcome outcome = run(arguments);
        EXPECT_EQ(2, outcome.code) << arguments;
        EXPECT_THAT(outcome.err, MatchesRegex("orvel-flv: [^\n]+\n")) << arguments;
    }
    EXPECT_THAT(run("probe --version").out, MatchesRegex("orvel-flv [0-9]+[.][0-9.]+\n"));
}

TEST_F(ProbeTest, ExitCodesAndOneLineThatSaysWhy) {
    write("short.flv", Text("FLV") + Bytes{1, 5});
    write("m\x1b[31mp4\n.flv", Bytes{0, 0, 0, 0x18, 0x66, 0x74, 0x79, 0x70, 0, 0, 0, 0, 0});
    const std::string noTrack = "tests/data/pcm_alaw_only.flv";
    write("garbage.flv",
          EditTags(noTrack, [](uint8_t* tag, uint32_t timeMs) { tag[0] ^= timeMs > 4000 ? 15 : 0; }));
    const std::string good = kSamples + "h263_mp3.flv";
    const std::tuple<std::string, int, std::string> cases[] = {
            {"short.flv", 1, "short.flv: byte offset 5: expected .*, found the end of the file"},
            {"m*.flv", 1, "m.x1b\\[31mp4.x0a.flv: byte offset 0: expected .*, found 00 00 00"},
            {ORVEL_SOURCE_DIR "/" + noTrack, 1, ".*: no track: audio G.711 A-law, 40 tags, 40040 bytes: .*"},
            {"garbage.flv", 1, "garbage.flv: no track: audio G.711 A-law, 32 tags, .*"},
            {"missing.flv", 3, "missing.flv: No such file.*"},
            {"--plugin missing.so " + good, 3, ".*missing.so.*"},
            {"https://me:secret@/a.flv?key=1", 3, "https:///a.flv: not a complete http or https URL"},
            {"--help >/dev/full", 3, "standard output: No space.*"},
            {good + " >/dev/full", 3, "standard output: No space.*"},
            {"short.flv . " + good, 3, "short.flv: .*\n.*: \\.: Is a directory"}};
    for (const auto& [arguments, code, why] : cases) {
        Outcome outcome = run("probe " + arguments);
        EXPECT_EQ(code, outcome.code) << arguments;
        EXPECT_THAT(outcome.err, MatchesRegex("orvel-flv: " + why + "\n"));
    }
    EXPECT_THAT(run("probe short.flv " + good).out, HasSubstr("Sorenson H.263"));
}

// Opening takes one refill of the plug-in's cache, an indexed seek of both tracks another; each byte of a
// file is read to play it.
TEST_F(ProbeTest, TellsWhatASessionReads) {
    const Json io = Json::parse(run("probe --io --json " + kSamples + "avc_aac_index.flv").out)["io"];
    ASSERT_EQ(io.size(), 4u);
    const Json phases[] = {{"sniff", 1, 1, 4096}, {"open", 1, 1, 4096}, {"seek", 10, 10, 40960}};
    for (const Json& phase : phases) {
        const Json& found = io[phase[0] == "sniff" ? 0 : phase[0] == "open" ? 1 : 3];
        EXPECT_EQ(phase, Json({found["phase"], found["nb_reads"], found["nb_of_4096"], found["bytes_read"]}));
    }
    const Json& play = io[2];
    EXPECT_EQ(play["nb_reads"], play["nb_below_4096"].get<int>() + play["nb_of_4096"].get<int>() +
                                        play["nb_above_4096"].get<int>());
    const int64_t once = play["bytes_read"].get<int64_t>() - play["bytes_read_again"].get<int64_t>();
    EXPECT_TRUE(once <= 325272 && once >= play["sample_bytes"]) << once;
}

Json Pick(const Json& object, const std::vector<std::string>& names) {
    Json picked;
    for (const std::string& name : names)
        picked.push_back(object.at(name));
    return picked;
}

TEST_F(ProbeTest, JsonHasFfprobesShape) {
    std::string lines = run("probe --json " + kSamples + "[ah][ve]*_aac*.flv").out;
    size_t end = lines.find('\n');
    Json avc = Json::parse(lines.substr(0, end)), hevc = Json::parse(lines.substr(end + 1));
    EXPECT_EQ(Json({14.08, "flv", 2, 325272, 14}),
              Pick(avc["format"], {"duration", "format_name", "nb_streams", "size", "nb_index_entries"}));
    EXPECT_EQ(Json({"video", "h264", 320, 240, 3.52}),
              Pick(avc["streams"][0], {"codec_type", "codec_name", "width", "height", "thumbnail_time"}));
    EXPECT_EQ(Json({1, "aac", "LC", 44100, 2}),
              Pick(avc["streams"][1], {"index", "codec_name", "profile", "sample_rate", "channels"}));
    EXPECT_EQ(Json({"hevc", "Main", 420}), Pick(hevc["streams"][0], {"codec_name", "profile", "width"}));
}

TEST_F(ProbeTest, PacketsEqualFfprobes) {
    const std::string file = kSamples + "h263_mp3.flv";
    Json ours = Json::parse(run("probe --json --packets " + file).out);
    std::string peer = "ffprobe -v error -of json -show_data_hash CRC32 -show_packets ";
    Json theirs = Json::parse(shell(peer + file).out)["packets"];
    ASSERT_EQ(theirs.size(), ours["packets"].size());
    EXPECT_EQ(90, ours["streams"][0]["nb_read_packets"]);
    int64_t previous = 0;
    size_t next[2] = {};
    for (Json packet : ours["packets"]) {
        EXPECT_LE(std::exchange(previous, packet["pts"]), packet["pts"]);
        packet["size"] = std::to_string(packet["size"].get<int>());
        size_t& i = next[packet["codec_type"] == "audio"];
        while (theirs[i]["codec_type"] != packet["codec_type"])
            ++i;
        const std::vector<std::string> names = {"codec_type", "pts", "size", "flags", "data_hash"};
        EXPECT_EQ(Pick(theirs[i++], names), Pick(packet, names));
    }
}

TEST_F(ProbeTest, SeekTellsLandingRouteAndCost) {
    std::string document = run("probe --json --seek 5.9,0,3600 " + kSamples + "avc_aac_index.flv").out;
    Json seeks = Json::parse(document)["seeks"];
    const std::vector<std::string> names = {"stream_index", "seek_time", "pts_time", "flags", "route"};
    EXPECT_EQ(Json({0, 5.9, 5.08, "K_", "key-frame index"}), Pick(seeks[0], names));
    EXPECT_EQ(Json({1, 5.9, 5.003, "K_", "key-frame index"}), Pick(seeks[1], names));
    EXPECT_EQ(Json({0, 0, 0.08, "K_", "start"}), Pick(seeks[2], names));
    EXPECT_GE(seeks[0]["nb_reads"], 1);
    EXPECT_EQ(true, seeks[4]["end_of_stream"]);
    EXPECT_THAT(run("probe --seek 3 " + kSamples + "h263_mp3.flv").out, HasSubstr("plain scan"));
    write("mismatched.flv", EditTags("samples/h263_mp3.flv", [](uint8_t* tag, uint32_t) { tag[-1] ^= 4; }));
    EXPECT_THAT(run("probe --seek 3 mismatched.flv").out, HasSubstr("back-off"));
}

// Against ffprobe, which reads all of a file for it, too.
TEST_F(ProbeTest, CountsAndRatesEqualFfprobes) {
    for (const std::string name :
         {"samples/h263_mp3", "samples/avc_aac_index", "tests/data/h264_baseline_mp3"}) {
        const std::string file = ORVEL_SOURCE_DIR "/" + name + ".flv";
        Json ours = Json::parse(run("probe --json --count " + file).out)["streams"];
        Json theirs =
                Json::parse(shell("ffprobe -v error -of json -count_packets -show_streams " + file).out);
        for (const Json& stream : theirs["streams"]) {
            const Json& own = ours[stream["codec_type"] == "audio"];
            EXPECT_EQ(stream["nb_read_packets"], std::to_string(own["nb_read_packets"].get<int>()));
            EXPECT_NEAR(std::stod(stream["start_time"].get<std::string>()), own["start_time"].get<double>(),
                        1e-6);
            if (own["codec_type"] == "video") {
                EXPECT_EQ(stream["r_frame_rate"], own["avg_frame_rate"]);
                EXPECT_EQ(true, own["frame_rate_even"]);
            } else {
                EXPECT_EQ(stream["sample_rate"], std::to_string(own["sample_rate"].get<int>()));
            }
        }
    }
}

TEST_F(ProbeTest, ShowsWhatScriptTagsSayAndWhatHasNoTrack) {
    FlvBuilder file;
    file.Tag(18, 0,
             amf::String("onMetaData") +
                     amf::Object({{"duration", amf::Number(9)}, {"creator", amf::String("me")}}));
    file.Tag(18, 500, amf::String("onTextData") + amf::Object({{"text", amf::String("hello")}}));
    for (uint32_t i = 0; i < 3; ++i)
        file.Audio(i * 1000, 0x2e,
                   {0xff, 0xfb, 0x94, 0xc0, 1, 2});  // MP3 at 48000 Hz, mono, in a tag that says otherwise
    file.Video(0, 0x13, Bytes(20, 1));
    write("a.flv", file.Finish());
    Outcome outcome = run("probe --json a.flv");
    EXPECT_THAT(outcome.err, HasSubstr("left out: video Screen video, 1 tag"));
    const Json document = Json::parse(outcome.out);
    EXPECT_EQ(Json({48000, 1, true}), Pick(document["streams"][0], {"sample_rate", "channels", "supported"}));
    EXPECT_EQ(Json({"flashsv", false, 1}),
              Pick(document["streams"][1], {"codec_name", "supported", "nb_tags"}));
    EXPECT_EQ(Json({9.0, 2.0}), Pick(document["format"], {"duration_declared", "duration_found"}));
    EXPECT_EQ("me", document["metadata"]["creator"]);
    EXPECT_EQ(Json({"onTextData", 0.5, Json::array({{{"text", "hello"}}})}),
              Pick(document["events"][0], {"name", "time", "data"}));
}

}  // namespace
}  // namespace orvel
