// SPDX-License-Identifier: Apache-2.0
#include <unistd.h>

#include <nlohmann/json.hpp>
#include <sstream>

#include "HostFixture.h"
#include "source/NginxServer.h"
#include "support/Progress.h"

namespace orvel {
namespace {

using testing::HasSubstr;
using testing::Not;

// A server that takes well over half a second for a sample file.
class ProgressTest : public HostTest {
  protected:
    ProgressTest() : mServer("limit_rate 160k;") {
        mServer.put("a.flv", {mFile.begin(), mFile.end()});
        url = mServer.url("/a.flv");
    }
    // On a terminal of its own, as which standard output and error are one.
    Outcome onTerminal(const std::string& words) const {
        return shell("script -qec \"$ORVEL_EMULATOR " ORVEL_BINARY_DIR "/bin/orvel-flv " + words +
                     "\" /dev/null");
    }
    std::string url;

  private:
    const Bytes mFile = ReadProjectFile("samples/avc_aac_index.flv");
    NginxServer mServer;
};

TEST_F(ProgressTest, JsonLinesRiseToTheEnd) {
    std::vector<std::string> cases = {"probe --packets " + url, "extract " + url, "check " + url,
                                      "map -o a.svg " + url};
    if (std::filesystem::exists(ORVEL_BINARY_DIR "/bin/liborvel_flv_av.so")) {
        cases.insert(cases.end(), {"remux " + url + " a.mkv", "thumbnail --grid 4x4 -o a.png " + url});
    }
    for (const std::string& words : cases) {
        SCOPED_TRACE(words);
        Outcome outcome = run("--quiet --progress json " + words);
        ASSERT_EQ(0, outcome.code) << outcome.err;
        std::istringstream lines(outcome.err);
        int64_t latest = 0, percent = 0, count = 0;
        for (std::string line; std::getline(lines, line); ++count) {
            auto json = nlohmann::json::parse(line);
            EXPECT_GE(json["bytes"].get<int64_t>(), latest);
            EXPECT_EQ(json["file"], url);
            percent = json["percent"];
            latest = json["bytes"];
            EXPECT_EQ(percent, latest * 100 / json["total"].get<int64_t>());
        }
        EXPECT_GE(count, 2);
        EXPECT_EQ(percent, 100);
    }
}

TEST(Progress, ManySmallInputsAreOneRun) {
    testing::internal::CaptureStderr();
    SetProgressMode(ProgressMode::kJson);
    for (size_t i = 1; i <= 12; ++i) {
        SetProgressPlace(i, 12);
        Progress progress("small", 300);
        progress.update(100);
        usleep(100000);
        progress.finish();
    }
    std::istringstream lines(testing::internal::GetCapturedStderr());
    nlohmann::json json;
    size_t count = 0, index = 0;
    for (std::string line; std::getline(lines, line); ++count) {
        json = nlohmann::json::parse(line);
        EXPECT_LE(index, json["index"]);
        index = json["index"];
    }
    EXPECT_GE(count, 3u);
    EXPECT_EQ("[12,12,100,0]",
              nlohmann::json({index, json["count"], json["percent"], json["seconds_left"]}).dump());
    const int64_t rate = json["bytes_per_second"];  // of all inputs, 3600 bytes in 1.2 s and more
    EXPECT_TRUE(rate > 300 && rate <= 3000) << rate;
}

TEST_F(ProgressTest, ALineOnTerminalsOnly) {
    EXPECT_EQ("", run("extract " + url).err);
    EXPECT_THAT(onTerminal("extract -o b " + url).out,
                testing::ContainsRegex("a.flv: [0-9]+ %, [0-9.]+ MB/s, 0:0"));
    EXPECT_THAT(onTerminal("check " + url + " " + url).out,
                testing::ContainsRegex("a.flv: [0-9]+ %, file 2 of 2, [0-9.]+ MB/s, 0:0"));
    EXPECT_THAT(onTerminal("extract -o c --quiet " + url).out, Not(HasSubstr("%")));
    EXPECT_EQ(shell("cat a.* | md5sum").out, shell("cat b/a.* | md5sum").out);
}

}  // namespace
}  // namespace orvel
