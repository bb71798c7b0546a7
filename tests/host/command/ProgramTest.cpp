// SPDX-License-Identifier: Apache-2.0
#include <nlohmann/json.hpp>
#include <set>
#include <sstream>

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
    shell("mkdir empty && cp a/z.txt empty");
    outcome = run("check -r empty a/b");
    EXPECT_EQ(1, outcome.code);
    EXPECT_EQ("orvel-flv: empty: no FLV files in or below this folder\n", outcome.err);
    EXPECT_THAT(outcome.out, HasSubstr("a/b/x.FLV: "));
}

TEST_F(ProgramTest, EveryInputHasItsJsonDocument) {
    const std::string good = kSamples + "h263_mp3.flv",
                      inputs = " --json " + good + " missing.flv empty " + good;
    shell("> empty");
    for (std::string command : {"probe", "check"}) {
        const Outcome outcome = run(command + inputs);
        EXPECT_EQ(3, outcome.code);
        std::istringstream lines(outcome.out);
        std::vector<nlohmann::json> documents;
        for (std::string line; std::getline(lines, line);)
            documents.push_back(nlohmann::json::parse(line));
        ASSERT_EQ(4u, documents.size()) << outcome.out;
        EXPECT_EQ("missing.flv", documents[1]["filename"]);
        EXPECT_EQ("missing.flv: No such file or directory", documents[1]["error"]);
        for (const char* member : {"streams", command == "probe" ? "format" : "findings"})
            EXPECT_EQ(documents[0][member].type(), documents[1].at(member).type()) << member;
        EXPECT_EQ("empty", documents[2]["filename"]);
        EXPECT_EQ(command == "probe", documents[2].contains("error"));  // check has findings of it
        EXPECT_EQ(documents[0], documents[3]);
        EXPECT_FALSE(documents[3].contains("error"));
    }
}

TEST_F(ProgramTest, InputsOfOneNameDoNotReplaceEachOthersFiles) {
    shell("mkdir -p in/a in/b && cp " + kSamples + "h263_mp3.flv in/a/x.flv && cp " + kSamples +
          "hevc_aac.flv in/b/x.flv");
    const std::tuple<std::string, int, std::string> cases[] = {
            {"extract -r --track audio -o - in", 2, "takes one input"},
            {"thumbnail -r -o one.png in", 2, "-o: names one picture"},
            {"thumbnail -r -o - in", 2, "-o: names one picture"},
            {"extract -r --force in in/a", 3,
             "in/a/x.flv: would replace x.ivf, made from an input of the same"},
            {"extract --force in/a/x.flv x.ivf", 3, "in/a/x.flv: would replace x.ivf, an input"},
            {"thumbnail -r --force in", 3,
             "in/b/x.flv: would replace x.png, made from an input of the same"}};
    bool hasCodecs = std::filesystem::exists(ORVEL_BINARY_DIR "/bin/liborvel_flv_av.so");
    for (const auto& [words, code, message] : cases) {
        if (words == "thumbnail -r --force in" && !hasCodecs) continue;
        Outcome outcome = run(words);
        EXPECT_EQ(code, outcome.code) << words;
        EXPECT_THAT(outcome.err, HasSubstr(message));
    }
    EXPECT_EQ(std::string("in\nx.aac\nx.h265\nx.ivf\nx.mp3\n") + (hasCodecs ? "x.png\n" : ""), list());
}

TEST_F(ProgramTest, LoadsThePlugInOnlyForWhatUsesIt) {
    for (const char* file : {"orvel-flv", "liborvel_platform.so"})
        std::filesystem::copy(std::string(ORVEL_BINARY_DIR "/bin/") + file, path(file));
    const std::string alone = "$ORVEL_EMULATOR ./orvel-flv ", file = kSamples + "hevc_aac.flv";
    EXPECT_EQ("00", shell(alone + "check -r " + file + " >&2; printf $?; " + alone + "map " + file +
                          " -o a.svg; printf $?")
                            .out);
    const Outcome probe = shell(alone + "probe " + file);
    EXPECT_EQ(3, probe.code);
    EXPECT_THAT(probe.err, HasSubstr("looked for /"));
    write("places", Bytes(probe.err.begin(), probe.err.end()));
    EXPECT_EQ("", shell("grep -o '[^ ]*/libflvextractor.so' places | sort | uniq -d").out);
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

TEST_F(ProgramTest, NeedsModulesOnlyWhereTheyAreUsed) {
    const std::string file = kSamples + "hevc_aac.flv", alone = "$ORVEL_EMULATOR ./orvel-flv ";
    for (const char* name : {"orvel-flv", "libflvextractor.so", "liborvel_platform.so"})
        std::filesystem::copy(std::string(ORVEL_BINARY_DIR "/bin/") + name, path(name));
    for (std::string words : {"probe ", "extract ", "check ", "map -o a.svg "})
        EXPECT_EQ(0, shell(alone + words + file).code) << words;
    const std::string missing[][2] = {{"thumbnail " + file, "this command needs the codec module"},
                                      {"remux " + file + " a.mkv", "this command needs the codec module"},
                                      {"probe http://localhost/a.flv", "a URL needs the network module"}};
    for (const auto& [words, message] : missing) {
        Outcome outcome = shell(alone + words);
        EXPECT_EQ(3, outcome.code) << words;
        EXPECT_EQ(1, std::count(outcome.err.begin(), outcome.err.end(), '\n')) << outcome.err;
        EXPECT_THAT(outcome.err, HasSubstr(message + ", which is not installed (looked for /"));
    }
    EXPECT_EQ("0\n",
              shell("LD_DEBUG=files " + program + "probe " + file + " 2>&1 | grep -cE 'libavcodec|libcurl'")
                      .out);
}

TEST_F(ProgramTest, GnuParallelSpreadsFiles) {
    if (shell("command -v parallel").code != 0)
        GTEST_SKIP() << "GNU parallel (Debian package parallel) is missing";
    shell("mkdir many; for i in $(seq 30); do cp " + kSamples +
          "h263_mp3.flv many/$i.flv; done; echo no > many/7.flv");
    const std::string find = "find many -name '*.flv' | HOME=$PWD parallel --will-cite -j 3 ";
    Outcome checked = shell(find + "-n 4 " + program + "check --json");
    EXPECT_EQ(1, checked.code);  // the number of jobs that failed
    EXPECT_EQ("", checked.err);
    std::istringstream lines(checked.out);
    std::set<std::string> names;
    for (std::string line; std::getline(lines, line);) {
        auto json = nlohmann::json::parse(line);
        names.insert(json["filename"]);
        EXPECT_EQ(json["filename"] == "many/7.flv", json["counts"].contains("not-flv"));
    }
    EXPECT_EQ(30u, names.size());
    // The local machine as one of several.
    shell("rm many/7.flv; echo 2/: > machines");
    EXPECT_EQ(
            0,
            shell(find + "--sshloginfile machines " + program + "extract --track audio -o out/{/.} {}").code);
    EXPECT_EQ("29 1\n",
              shell("md5sum out/*/*.mp3 | awk '{++all; sums[$1]} END {print all, length(sums)}'").out);
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
