// SPDX-License-Identifier: Apache-2.0
#include "CodecRegistry.h"

#include <stdio.h>

#include <set>
#include <sstream>

#include "CodecTables.h"
#include "TestSupport.h"

using namespace android;

TEST(CodecRegistry, MapsTags) {
    // Tag, MIME type, codec identifier, with 77 where none is stored. First the streams of an FLV file, then
    // neighbours and ends of the tables, letter case (without a meaning in WAVE tags), and what lies just
    // beside all these.
    std::istringstream rows(
            "31564c46 video/ffmpeg 22  34564c46 video/ffmpeg 93  34363248 video/avc 28  1 audio/raw 0 "
            "43564548 video/hevc 1211250229  5346 audio/adpcm 0  55 audio/mpeg 86017  ff audio/mp4a-latm "
            "86018 "
            "4c4c454e none 77  0 none 77  3 audio/lpcm 0  163 audio/wma 86054  f1ac audio/flac 0 "
            "33564d57 video/ffmpeg 72  382d5056 video/x-vnd.on2.vp8 141  44495658 video/ffmpeg 13 "
            "43764568 video/hevc 1211250229  64696220 video/raw 0  61 audio/adpcm 0  41 none 77 "
            "61766331 none 77  20424944 none 77  ffff none 77  f4b6b2c8 none 77");
    std::string tag, mime;
    for (unsigned id = 0; rows >> tag >> mime >> id;) {
        unsigned codecId = 77;
        const char* found = GetMimeType(static_cast<unsigned>(std::stoul(tag, nullptr, 16)), &codecId);
        EXPECT_EQ(found == nullptr ? "none" : found, mime) << tag;
        EXPECT_EQ(codecId, id) << tag;
    }
    std::set<uint32_t> tags;
    for (const auto& row : kWaveTagTable)
        tags.insert(row.tag);
    EXPECT_TRUE(tags.size() == 27 && *tags.rbegin() <= 0xFFFE);
    for (const auto& row : kFourCCTable)
        tags.insert(row.tag);
    EXPECT_TRUE(tags.size() == 71 && *std::next(tags.begin(), 27) > 0xFFFE);
}

TEST(CodecRegistry, LogsLookUps) {
    unsigned codecId = 0;
    const LogCapture log;
    GetMimeType(0x0055, &codecId);
    GetMimeType(0x43414152, &codecId);
    GetMimeType(0x0001, nullptr);
    GetMimeType(0x4C6C456E, &codecId);
    EXPECT_EQ(
            log.lines(),
            Lines({"I/Utils: GetMimeType : fourcc 0x55", "I/Utils: get audio ffmpegCodecId is 0x15001",
                   "I/Utils: GetMimeType : fourcc 0x43414152", "I/Utils: get video ffmpegCodecId is 0x15002",
                   "I/Utils: GetMimeType : fourcc 0x1", "I/Utils: GetMimeType : fourcc 0x4c6c456e",
                   "D/Utils: GetMimeType: not find Mime! 0x4c4c454e"}));
}

TEST(CodecRegistry, KnowsWhatNeedsExtraData) {
    std::string needing;
    for (const char* mime : {"video/mixer", "audio/WMA", "video/realvideo", "audio/realaudio", "",
                             "audio/ape", "audio/x-ms-wma", "audio/wma", "audio/wm", "audio/adpcm"})
        needing.push_back(isNeedExtra(mime) ? '1' : '0');
    EXPECT_EQ(needing, "1011010101");
    EXPECT_FALSE(isNeedExtra(nullptr));
}

// What two look-ups print when the loader searches the folder first.
static void expectLookUps(const char* folder, const char* expected) {
    const std::string command =
            std::string("LD_LIBRARY_PATH=") + folder + " $ORVEL_EMULATOR " LOOK_UPS " 2>&1";
    FILE* output = popen(command.c_str(), "r");
    char text[1000];
    const size_t size = fread(text, 1, sizeof(text), output);
    EXPECT_EQ(pclose(output), 0);
    EXPECT_THAT(std::string(text, size), testing::MatchesRegex(expected));
}

TEST(CodecRegistry, LoadsTheCodecLibraryAnewOnEveryCall) {
    expectLookUps(SUBSTITUTE_FOLDER,
                  "loaded\nasked 31637661\nunloaded\n= b1637661\nloaded\nasked ffff\nunloaded\n= 8000ffff\n");
    expectLookUps("/nonexistent",
                  "(I/Utils: Failed to load libffmpeg_utils.so, dlerror: libffmpeg_utils.so: cannot "
                  "open shared object file: No such file or directory\n= ffffffff\n){2}");
    expectLookUps(EMPTY_SUBSTITUTE_FOLDER,
                  "(loaded\nI/Utils: Failed to find symbol, dlerror: [^\n]*/libffmpeg_utils.so: "
                  "undefined symbol: FfmpegGetCodecIDFromFourCC\nunloaded\n= ffffffff\n){2}");
}
