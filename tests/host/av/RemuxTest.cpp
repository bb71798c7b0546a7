// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cmath>

#include "AvFixture.h"

namespace orvel {
namespace {

using testing::HasSubstr;

const std::string kData = ORVEL_SOURCE_DIR "/tests/data/";

class RemuxTest : public AvTest {
  protected:
    static bool areNear(const std::string& left, const std::string& right, double slackMs) {
        std::istringstream a(left), b(right);
        for (double x, y; a >> x && b >> y;) {
            if (std::abs(x - y) * 1000 > slackMs) return false;
        }
        return std::count(left.begin(), left.end(), '\n') == std::count(right.begin(), right.end(), '\n');
    }
};

// Access units that begin with a delimiter, as cameras send them.
TEST_F(RemuxTest, TransportStreamsDecodeAndAreNoLargerThanOthers) {
    const std::string plain = kIndexed, sound = kData + "aac_only.flv";
    shell("ffmpeg -v error -i " + plain + " -c copy -bsf:v h264_metadata=aud=insert aud.flv");
    for (const std::string& input : {plain, std::string("aud.flv"), sound}) {
        ASSERT_EQ(0, run("remux --force " + input + " out.ts").code);
        if (input != sound) {
            EXPECT_EQ(frames(plain, "v"), frames("out.ts", "v")) << input;
        }
        EXPECT_EQ(frames(sound == input ? sound : plain, "a"), frames("out.ts", "a")) << input;
        shell("ffmpeg -y -v error -i " + input + " -c copy peer.ts");
        EXPECT_LE(read("out.ts").size(), read("peer.ts").size() * 102 / 100) << input;
    }
}

TEST_F(RemuxTest, DecodesAsTheInputDoesAtTheSameTimes) {
    const std::string cases[][3] = {{kIndexed, "mkv mp4 mov ts", "va"},
                                    {kSamples + "h263_mp3.flv", "mkv", "va"},
                                    {kData + "h264_baseline_mp3.flv", "mp4 ts", "va"},
                                    {kData + "flv1_adpcm_swf.flv", "mkv", "a"},
                                    {kData + "flv1_pcm_s16le.flv", "mkv", "a"}};
    for (const auto& [input, targets, streams] : cases) {
        std::istringstream list(targets);
        for (std::string target; list >> target;) {
            Outcome outcome = run("remux --keep-times --force " + input + " out." + target);
            ASSERT_EQ("0", std::to_string(outcome.code) + outcome.err);
            for (char letter : streams) {
                const std::string stream(1, letter);
                EXPECT_EQ(frames(input, stream), frames("out." + target, stream)) << outcome.out;
                // In a transport stream several sound samples share a time, and readers reckon the others'.
                const double slackMs = target == "ts" && letter == 'a' ? 1.1 : 0.1;
                EXPECT_TRUE(areNear(times(input, stream), times("out." + target, stream), slackMs))
                        << outcome.out;
            }
        }
    }
}

// Which ffmpeg 5 cannot read out of FLV.
TEST_F(RemuxTest, HevcDecodesAsItsElementaryStream) {
    const std::string input = kSamples + "hevc_aac.flv";
    ASSERT_EQ(0, run("extract --timestamps " + input).code);
    Outcome stamps = shell("awk '/^[0-9]/ {printf \"%.3f\\n\", $1 / 1000}' hevc_aac.h265.timestamps.txt");
    for (const char* target : {"out.mkv", "out.mp4", "out.mov", "out.ts"}) {
        ASSERT_EQ(0, run("remux --keep-times " + input + " " + target).code);
        EXPECT_EQ(frames("hevc_aac.h265", "v"), frames(target, "v")) << target;
        EXPECT_EQ(stamps.out, times(target, "v")) << target;
    }
}

// Pictures of 27x13, in blocks of 16 that the tag's adjustment byte trims; of those with transparency the
// colour.
TEST_F(RemuxTest, Vp6IsTrimmedToItsSize) {
    for (bool hasAlpha : {false, true}) {
        FlvBuilder file;
        for (uint32_t i = 0; i < 3; ++i) {
            Bytes frame = {0x28, 0x36, 1, 2, 1, 2};  // a key frame: version 6, 1 row and 2 columns of blocks
            for (uint32_t at = 0; at < 200; ++at)
                frame.push_back(static_cast<uint8_t>((at + i) * (at + 9) * 40503 >> 7));
            const Bytes before = hasAlpha ? U24(static_cast<uint32_t>(frame.size())) : Bytes();
            file.Video(i * 40, hasAlpha ? 0x15 : 0x14,
                       Bytes{0x53} + before + frame + (hasAlpha ? frame : Bytes()));
        }
        write("a.flv", file.Finish());
        Outcome outcome = run("remux --force a.flv a.mkv");
        EXPECT_EQ("0", std::to_string(outcome.code) + outcome.err);
        EXPECT_EQ("vp6f,27,13\n", shell("ffprobe -v error -show_entries stream=codec_name,width,height "
                                        "-of csv=p=0 a.mkv")
                                          .out);
        EXPECT_EQ(frames("a.flv", "v", "-vf format=yuv420p"),
                  frames("a.mkv", "v", "-vf crop=27:13:0:0:exact=1"));
        EXPECT_EQ(times("a.flv", "v"), times("a.mkv", "v"));
        outcome = run("remux a.flv a.mp4");
        EXPECT_EQ(2, outcome.code);
        EXPECT_THAT(outcome.err, HasSubstr(hasAlpha ? "cannot hold VP6 with alpha" : "cannot hold VP6,"));
    }
}

// Cue points of onMetaData and of tags of their own, of which one tells a point again.
TEST_F(RemuxTest, TagsChaptersRotationAndDefaultDuration) {
    const auto cue = [](const char* name, double time, const char* type) {
        return amf::Object(
                {{"name", amf::String(name)}, {"time", amf::Number(time)}, {"type", amf::String(type)}});
    };
    const Bytes points = Bytes{10} + U32(3) + cue("One", 1, "navigation") + cue("Shot", 2, "event") +
                         cue("Two", 5, "navigation");
    const Bytes metadata = amf::EcmaArray({{"Title", amf::String("St\xc3\xbc"
                                                                 "ck")},
                                           {"creationdate", amf::String("Thu Mar 22 13:23:11 2007\n")},
                                           {"encoder", amf::String("Enc 1")},
                                           {"author", amf::String("Someone")},
                                           {"rotation", amf::Number(90)},
                                           {"cuePoints", points}});
    const Bytes told = amf::String("onCuePoint") + cue("One", 1.04, "navigation");
    const Bytes sample = ReadProjectFile("samples/avc_aac_index.flv");
    const auto second = sample.begin() + 28 + (sample[14] << 16 | sample[15] << 8 | sample[16]);
    FlvBuilder file;
    file.Tag(18, 0, amf::String("onMetaData") + metadata);
    file.Tag(18, 0, told);
    file.Raw(U32(static_cast<uint32_t>(11 + told.size())) + Bytes(second, sample.end()));
    write("a.flv", file.Finish());
    for (const char* target : {"a.mkv", "a.mp4"}) {
        Outcome outcome = run("remux a.flv --keep-times " + std::string(target));
        EXPECT_EQ(4, outcome.code);
        EXPECT_THAT(outcome.err, HasSubstr("1 cue point not for navigation (Shot at 2.000 s)"));
        Outcome told =
                shell(std::string("ffprobe -v error -show_chapters -show_entries format_tags:"
                                  "chapter=start_time,end_time:stream_tags=rotate:stream_side_data=rotation"
                                  " -of flat ") +
                      target);
        for (const char* line : {"title=\"St\xc3\xbc"
                                 "ck\"",
                                 "creation_time=\"2007-03-22T13:23:11", "=\"Enc 1\"", "=\"Someone\"",
                                 "start_time=\"1.000000\"", "end_time=\"5.000000\"", "title=\"Two\""})
            EXPECT_THAT(told.out, HasSubstr(line)) << target;
        const bool isMatroska = std::string(target) == "a.mkv";
        EXPECT_THAT(told.out, HasSubstr(isMatroska ? "ROTATE=\"90\"" : "rotation=-90")) << target;
    }
    const Bytes defaultDuration = {0x23, 0xe3, 0x83, 0x84, 0x02, 0x62, 0x5a, 0x00};  // 40 ms
    const Bytes made = read("a.mkv");
    EXPECT_NE(made.end(),
              std::search(made.begin(), made.end(), defaultDuration.begin(), defaultDuration.end()));
    ASSERT_EQ(4, run("remux --from 3 a.flv part.mkv").code);
    EXPECT_EQ("0.000000\n2.920000\n",
              shell("ffprobe -v error -show_entries chapter=start_time -of csv=p=0 part.mkv").out);
}

TEST_F(RemuxTest, PcmOfBothWidths) {
    for (const std::string codec : {"pcm_u8", "pcm_s16le"}) {
        shell("ffmpeg -v error -y -f lavfi -i sine=440:d=1:r=11025 -c:a " + codec + " a.flv");
        ASSERT_EQ(0, run("remux --force a.flv a.mov").code);
        EXPECT_EQ(frames("a.flv", "a"), frames("a.mov", "a")) << codec;
    }
}

TEST_F(RemuxTest, RefusesByName) {
    write("there.mkv", {1});
    const std::string cases[][3] = {
            {kSamples + "h263_mp3.flv a.mp4", "2", "MP4 cannot hold Sorenson H.263, the video track's codec"},
            {kIndexed + " there.mkv", "3", "there.mkv: File exists"},
            {"--force - there.mkv <there.mkv", "2", "there.mkv: is the input itself"},
            {kIndexed + " out.mp4 --from 99", "1", "no samples"},
            {kIndexed + " - >/dev/full", "3", "standard output: No space left"}};
    for (const auto& [arguments, code, message] : cases) {
        Outcome outcome = run("remux " + arguments);
        EXPECT_EQ(code, std::to_string(outcome.code)) << arguments;
        EXPECT_THAT(outcome.err, HasSubstr(message));
    }
    EXPECT_EQ("there.mkv\n", list());
}

// What a library says of them would tell nobody where to look.
TEST_F(RemuxTest, RefusesWhatNoDecoderCouldUse) {
    const auto edit = [this](const char* name, uint8_t type, size_t from, const Bytes& record) {
        write(name, EditTags("samples/avc_aac_index.flv", [&](uint8_t* tag, uint32_t) {
                  if (tag[0] == type && tag[12] == 0) std::copy(record.begin(), record.end(), tag + from);
              }));
    };
    edit("nosps.flv", 9, 16, {1, 0x42, 0xc0, 0x0d, 0xff, 0xe0, 0});
    edit("nosize.flv", 9, 16,
         {1, 0x42, 0xc0, 0x0d, 0xff, 0xe1, 0, 4, 0x67, 0x42, 0xc0, 0x0d, 1, 0, 2, 0x68, 0xce});
    edit("scalable.flv", 8, 13, {0xb9, 0x10, 0, 0});  // audio object type 23
    const std::string cases[][3] = {
            {"nosps.flv a.mkv", "1",
             "nothing of the video track can be shown: expected an AVC configuration with"},
            {"nosize.flv a.ts", "1", "nosize.flv: byte offset 812: nothing of the video track"},
            {"scalable.flv a.ts", "2", "stream cannot hold AAC of audio object type 23 (Matroska can)"}};
    for (const auto& [arguments, code, message] : cases) {
        Outcome outcome = run("remux " + arguments);
        EXPECT_EQ(code, std::to_string(outcome.code)) << arguments;
        EXPECT_THAT(outcome.err, HasSubstr(message));
    }
}

TEST_F(RemuxTest, PipesAndEndsQuietly) {
    Outcome whole = run("remux " + kIndexed + " - | ffmpeg -v error -i - -f null -");
    EXPECT_EQ("0", std::to_string(whole.code) + whole.err);
    Outcome closed = run("remux " + kIndexed + " - | head -c 5 | wc -c");
    EXPECT_EQ("5\n", closed.out + closed.err);
}

TEST_F(RemuxTest, PartCountsFromItsEarliestSample) {
    ASSERT_EQ(0, run("remux --from 0:05.9 --to 8 " + kIndexed + " part.mp4").code);
    EXPECT_EQ("0.000\n74\n",
              shell("echo '" + times("part.mp4", "v") + "' | sed '/./!d' | sed -n '1p;$='").out);
}

TEST_F(RemuxTest, RecoversBehindDamage) {
    Bytes damaged = ReadProjectFile("samples/avc_aac_index.flv");
    for (size_t i = damaged.size() / 2; i < damaged.size() / 2 + 65536; ++i)
        damaged[i] = static_cast<uint8_t>(i * 37);
    write("damaged.flv", damaged);
    Outcome recovered = run("remux --recover --keep-times damaged.flv long.mkv");
    EXPECT_EQ(0, recovered.code);
    EXPECT_THAT(recovered.err, HasSubstr("pictures from 9.520 s to 10.000 s are left out"));
    EXPECT_THAT(times("long.mkv", "v"), testing::EndsWith("13.960\n14.000\n14.040\n"));
}

TEST_F(RemuxTest, TakesManyFilesAndTheSoundAlone) {
    Outcome outcome = run("remux -o out --to mkv " + kData + "flashsv_mp3.flv nothing.flv");
    EXPECT_EQ(3, outcome.code);
    EXPECT_THAT(outcome.out, testing::EndsWith("1 of 2 files written\n"));
    EXPECT_THAT(outcome.err, HasSubstr("left out: video Screen video, 25 tags, 84837 bytes"));
    EXPECT_EQ("flashsv_mp3.mkv\n", shell("ls out").out);
    EXPECT_EQ(4, run("remux " + kIndexed + " sound.m4a").code);
    EXPECT_EQ(frames(kIndexed, "a"), frames("sound.m4a", "a"));
    EXPECT_EQ(2, run("remux -o out --to avi " + kIndexed).code);
    EXPECT_EQ(0, run("remux -o out --to m2ts --from 2 --to 4 " + kIndexed).code);
}

}  // namespace
}  // namespace orvel
