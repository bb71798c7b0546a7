// SPDX-License-Identifier: Apache-2.0
#include <limits>

#include "HostFixture.h"

namespace orvel {
namespace {

using testing::HasSubstr;

class ExtractTest : public HostTest {
  protected:
    // MD5 sums of the frames that ffmpeg decodes; fails the test if ffmpeg says a word about the file.
    std::string decode(const std::string& file, const std::string& stream) const {
        Outcome outcome = shell("ffmpeg -v error -i '" + file + "' -map 0:" + stream +
                                " -fps_mode passthrough -f framemd5 - | grep -v '^#' | sed 's/.*, *//'");
        EXPECT_EQ("", outcome.err) << file;
        EXPECT_NE("", outcome.out) << file;
        return outcome.out;
    }
};

TEST_F(ExtractTest, OutputsDecodeAsTheInputDoes) {
    struct Case {
        std::string name, extension, codec,
                peer;  // peer: the stream of the input that ffmpeg can decode, if any
    };
    const Case cases[] = {{"samples/avc_aac_index", ".h264", "h264", "v"},
                          {"samples/avc_aac_index", ".aac", "aac", "a"},
                          {"samples/h263_mp3", ".ivf", "flv1", "v"},
                          {"samples/h263_mp3", ".mp3", "mp3", "a"},
                          {"samples/hevc_aac", ".h265", "hevc", ""},
                          {"tests/data/flv1_adpcm_swf", ".wav", "adpcm_swf", "a"},
                          {"tests/data/flv1_pcm_s16le", ".wav", "pcm_s16le", ""}};
    for (const Case& c : cases) {
        const std::string input = ORVEL_SOURCE_DIR "/" + c.name + ".flv";
        Outcome outcome = run("extract --force --timestamps " + input);
        EXPECT_EQ(0, outcome.code) << outcome.err;
        EXPECT_EQ("", outcome.err);
        std::string output = path(c.name.substr(c.name.rfind('/') + 1) + c.extension);
        EXPECT_EQ(c.codec + "\n",
                  shell("ffprobe -v error -show_entries stream=codec_name -of csv=p=0 " + output).out);
        std::string frames = decode(output, "0");
        EXPECT_EQ(c.peer.empty() ? frames : decode(input, c.peer), frames) << output;
        if (c.extension == ".ivf" || c.extension == ".wav")
            continue;  // which mkvmerge cuts up in its own way
        Outcome muxed =
                shell("mkvmerge -q -o out.mkv --timestamps 0:" + output + ".timestamps.txt " + output);
        EXPECT_EQ("", muxed.out + muxed.err);
    }
}

TEST_F(ExtractTest, ExistingFilesAreKeptUnlessForced) {
    write("h263_mp3.mp3", {1});
    EXPECT_THAT(run("extract " + kSamples + "h263_mp3.flv").err, HasSubstr("h263_mp3.mp3: File exists"));
    EXPECT_EQ("h263_mp3.mp3\n", list());
    EXPECT_EQ(0, run("extract --force --track audio " + kSamples + "h263_mp3.flv").code);
    EXPECT_EQ(30302u, read("h263_mp3.mp3").size());
}

TEST_F(ExtractTest, SpanBeginsWhereASeekLands) {
    Outcome span = run("extract --from 0:05.9 --to 0:00:08 -o a/b " + kSamples + "avc_aac_index.flv");
    EXPECT_THAT(span.out, HasSubstr("a/b/avc_aac_index.h264: video AVC, 74 samples, 5.080 s to 8.040 s"));
    EXPECT_EQ("", span.err);
    // Pictures are reordered there: every one before the end is kept, and the one that two of them refer to.
    run("extract --timestamps -o whole " + kSamples + "avc_aac_index.flv");
    run("extract --timestamps --to 7.98 -o part " + kSamples + "avc_aac_index.flv");
    const std::string before =
            "cat */*.h264.timestamps.txt | awk '$1 < 7980' | sort | uniq -c | awk '$1 != 2'";
    EXPECT_EQ("", shell(before).out);
    EXPECT_EQ("8040\n", shell("awk '$1 >= 7980' part/*.h264.timestamps.txt").out);
    EXPECT_EQ(1, run("extract --from 99 -o whole --force " + kSamples + "avc_aac_index.flv").code);
    EXPECT_EQ(3, run("extract -o whole/new/ missing.flv").code);
    EXPECT_EQ("a\npart\nwhole\n", list());
    EXPECT_EQ("", shell("ls whole | grep new").out);
}

TEST_F(ExtractTest, WarnsOfATrackThatEndsEarly) {
    write("halved.flv", EditTags("samples/h263_mp3.flv", [](uint8_t* tag, uint32_t timeMs) {
              if (timeMs > 3000) tag[1] = tag[2] = tag[3] = 0;
          }));
    write("uneven.flv", EditTags("samples/h263_mp3.flv", [](uint8_t* tag, uint32_t timeMs) {
              if (timeMs > 3000 && tag[0] == 8) tag[0] = 18;
          }));
    Outcome halved = run("extract halved.flv"), uneven = run("extract uneven.flv");
    EXPECT_EQ(1, halved.code);
    EXPECT_THAT(halved.err, HasSubstr("halved.flv: the video track ends at 2.983 s, well before 6.050 s"));
    EXPECT_THAT(halved.err, HasSubstr("halved.flv: the audio track ends at 2.978 s"));
    EXPECT_EQ(4, uneven.code);
    EXPECT_EQ(0, run("extract --force --allow-missing uneven.flv").code);
    EXPECT_THAT(uneven.err, testing::MatchesRegex("[^\n]*the audio track ends at 2.978 s[^\n]*\n"
                                                  "[^\n]*left out: script data[^\n]*, 117 tags[^\n]*\n"));
}

TEST_F(ExtractTest, InfiniteDurationIsNone) {
    FlvBuilder file;
    file.MetaData(std::numeric_limits<double>::infinity());
    for (uint32_t i = 0; i < 100; ++i)
        file.Audio(i * 26, 0x2f, Bytes(90 + i, 0x55));
    write("live.flv", file.Finish());
    Outcome outcome = run("extract live.flv");
    EXPECT_EQ("0", std::to_string(outcome.code) + outcome.err);
    EXPECT_THAT(run("probe live.flv").out, HasSubstr("duration unknown"));
}

TEST_F(ExtractTest, AdpcmOfUnequalPacketsIsDecoded) {
    for (uint8_t header : Bytes{0x1a, 0x1b}) {  // mono, stereo
        FlvBuilder file;
        for (uint8_t i = 0; i < 8; ++i) {
            Bytes packet(1500 + 700u * i, static_cast<uint8_t>(i << 6 | 0x15));
            for (size_t at = 1; at < packet.size(); ++at)
                packet[at] = static_cast<uint8_t>(at * at * 40503 >> 7);
            file.Audio(i * 100u, header, packet);
        }
        write("noise.flv", file.Finish());
        EXPECT_THAT(run("extract --force noise.flv").err, HasSubstr("written decoded, as PCM"));
        const std::string pcm = " -f s16le - | md5sum";
        EXPECT_EQ(shell("ffmpeg -v error -i noise.flv" + pcm).out,
                  shell("ffmpeg -v error -i noise.wav" + pcm).out);
    }
}

}  // namespace
}  // namespace orvel
