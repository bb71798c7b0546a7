// SPDX-License-Identifier: Apache-2.0
#include "AvFixture.h"

namespace orvel {
namespace {

using testing::HasSubstr;

class ThumbnailTest : public AvTest {
  protected:
    // The one frame that the filter lets through, in a screen's colours.
    std::string pixels(const std::string& file, const std::string& filter = "null") const {
        return frames(file, "v", "-frames:v 1 -pix_fmt rgb24 -vf \"" + filter + "\"");
    }
    // Whether out.png is the frame of the file that the filter lets through: in every pixel where the scaler
    // is ffmpeg's own; within rounding, a peak signal-to-noise ratio over 50 dB, where this program runs
    // emulated and so converts colours with another machine's instructions than ffmpeg.
    bool showsFrame(const std::string& file, const std::string& filter) const {
        const char* emulator = getenv("ORVEL_EMULATOR");
        if (emulator == nullptr || *emulator == 0) return pixels(file, filter) == pixels("out.png");
        Outcome outcome = shell("ffmpeg -v info -copyts -i " + file +
                                " -i out.png -frames:v 1 -lavfi \"[0:v]" + filter +
                                ",format=rgb24,setpts=0[a];[1:v]format=rgb24[b];[a][b]psnr\" -f null - 2>&1"
                                " | sed -n 's/.*PSNR.*average:\\([0-9inf.]*\\).*/\\1/p'");
        return strtod(outcome.out.c_str(), nullptr) > 50;
    }
};

TEST_F(ThumbnailTest, IsTheFrameThatFfmpegDecodes) {
    ASSERT_EQ(0, run("remux --keep-times " + kSamples + "hevc_aac.flv hevc.mkv").code);
    const std::string cases[][5] = {
            {"avc_aac_index.flv", "", "3.080", kIndexed, "null"},
            {"avc_aac_index.flv", "--size 999x120", "3.080", kIndexed, "scale=160:120"},
            {"h263_mp3.flv", "--at 1.4", "1.383", kSamples + "h263_mp3.flv", "null"},
            {"hevc_aac.flv", "", "0.067", "hevc.mkv", "null"}};
    for (const auto& [input, options, time, peer, scaling] : cases) {
        Outcome outcome = run("thumbnail --force -o out.png " + options + " " + kSamples + input);
        EXPECT_THAT(outcome.out, HasSubstr("key frame at " + time + " s")) << outcome.err;
        EXPECT_TRUE(showsFrame(peer, "select='lt(abs(t-" + time + "),0.0005)'," + scaling)) << input;
    }
}

TEST_F(ThumbnailTest, AppliesMatrixRangeAndAspect) {
    shell("ffmpeg -v error -f lavfi -i testsrc=size=352x288:d=1:r=5 -vf setsar=16/11,format=yuv420p,"
          "scale=out_color_matrix=bt709:out_range=full -colorspace bt709 -color_range pc -c:v libx264 "
          "wide.flv");
    EXPECT_THAT(run("thumbnail --at 0 wide.flv").out, HasSubstr("wide.png: 512x288"));
    EXPECT_EQ(pixels("wide.flv", "scale=512:288"), pixels("wide.png"));
    EXPECT_NE(pixels("wide.flv", "scale=512:288:in_color_matrix=bt601"), pixels("wide.png"));
}

TEST_F(ThumbnailTest, PassesOverKeyFramesThatDoNotDecode) {
    for (uint32_t damaged : {2u, 9u}) {  // key frames from 3 s on, of which up to 8 are tried
        write("bad.flv", EditTags("samples/avc_aac_index.flv", [&](uint8_t* tag, uint32_t timeMs) {
                  size_t size = static_cast<size_t>(tag[1] << 16 | tag[2] << 8 | tag[3]);
                  bool isKeyFrame = tag[0] == 9 && tag[11] == 0x17 && tag[12] == 1;
                  if (isKeyFrame && timeMs / 1000 - 3 < damaged) memset(tag + 20, 0xff, size - 9);
              }));
        Outcome outcome = run("thumbnail --force --at 3 bad.flv");
        EXPECT_EQ(damaged > 8 ? 1 : 0, outcome.code);
        EXPECT_THAT(outcome.out + outcome.err,
                    HasSubstr(damaged > 8 ? "that decodes" : "key frame at 5.080 s"));
    }
    // Those at 0, 2, 12 and 13 s: nine damaged ones are no end of the file.
    EXPECT_THAT(run("thumbnail --grid 7x1 -o sheet.png bad.flv").out, HasSubstr(", 4 key frames"));
}

TEST_F(ThumbnailTest, SheetHasNoMoreCellsThanKeyFrames) {
    Outcome sheet = run("thumbnail --grid 5x4 --size 160x120 -o sheet.png " + kIndexed);
    EXPECT_EQ("sheet.png: 848x446, 14 key frames\n", sheet.out) << sheet.err;
    EXPECT_EQ(0, run("thumbnail --at 4 --size 160x120 -o one.png " + kIndexed).code);
    EXPECT_EQ(pixels("sheet.png", "crop=160:120:680:8"), pixels("one.png"));
    EXPECT_EQ(0, run("thumbnail -o one.jpg " + kIndexed).code);
    EXPECT_EQ("image/jpeg\n", shell("file -b --mime-type one.jpg").out);
}

}  // namespace
}  // namespace orvel
