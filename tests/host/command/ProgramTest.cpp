// SPDX-License-Identifier: Apache-2.0
#include "HostFixture.h"

namespace orvel {
namespace {

using testing::HasSubstr;

class ProgramTest : public HostTest {
  protected:
    const std::string program = "$ORVEL_EMULATOR " ORVEL_BINARY_DIR "/bin/orvel-flv ";
};

TEST_F(ProgramTest, FoldersStandForTheirFiles) {
    shell("mkdir -p a/b && cp " + kSamples +
          "h263_mp3.flv a/b/x.FLV && echo no > a/y.flv && cp a/y.flv a/z.txt");
    Outcome outcome = run("probe -r a " + kSamples + "hevc_aac.flv");
    EXPECT_EQ(1, outcome.code);
    EXPECT_THAT(outcome.out, testing::ContainsRegex("^a/b/x.FLV: FLV(.|\n)*hevc_aac.flv: FLV"));
    EXPECT_THAT(outcome.err, testing::MatchesRegex("[^\n]*a/y.flv: byte offset 0[^\n]*\n"));
}

TEST_F(ProgramTest, NamesOfEveryKindStandBehindTwoDashes) {
    shell("for name in a -q -- check; do cp " + kSamples + "h263_mp3.flv ./$name; done");
    Outcome outcome = run("probe a -- -q -- check");
    EXPECT_EQ("", outcome.err);
    EXPECT_THAT(outcome.out, testing::ContainsRegex("^a: F(.|\n)*/-q: F(.|\n)*/--: F(.|\n)*/check: F"));
}

TEST_F(ProgramTest, NothingReplacesItsOwnInput) {
    shell("cp " + kSamples + "h263_mp3.flv a.flv; ln -s a.flv a.ivf; ln a.flv a.png");
    for (std::string words :
         {"extract --force a.flv", "map --force -o a.png a.flv", "thumbnail --force a.flv"}) {
        Outcome outcome = run(words);
        EXPECT_EQ(2, outcome.code) << words;
        EXPECT_THAT(outcome.err, testing::MatchesRegex("[^\n]*a.(ivf|png): is the input itself\n"));
    }
    EXPECT_EQ(ReadProjectFile("samples/h263_mp3.flv"), read("a.flv"));
}

TEST_F(ProgramTest, ReadsAndWritesPipes) {
    const std::string file = kSamples + "h263_mp3.flv";
    run("extract --track audio " + file);
    Outcome piped = shell("cat " + file + " | " + program + "extract - --track audio -o -");
    EXPECT_EQ(read<std::string>("h263_mp3.mp3"), piped.out);
    EXPECT_EQ(2, run("extract -o - " + file).code);
    // More than a pipe holds.
    Outcome closed = shell("f=" + file + "; bash -c '" + program + "probe --packets " +
                           "$0 $0 $0 $0 $0 $0 $0 $0 $0" + " | head -1; echo ${PIPESTATUS[0]}' $f");
    EXPECT_THAT(closed.out, HasSubstr("\n141\n"));
    EXPECT_EQ("", closed.err);
}

TEST_F(ProgramTest, InterruptedWorkLeavesNoFile) {
    // It waits for its input, with the file already begun.
    Outcome outcome = shell("sleep 2 | " + program +
                            "map - -o map.svg & sleep 1; ls -A | grep -c part; kill $!; wait $!");
    EXPECT_EQ("1\n", outcome.out);
    EXPECT_EQ(143, outcome.code);
    EXPECT_EQ("", list());
}

}  // namespace
}  // namespace orvel
