// SPDX-License-Identifier: Apache-2.0
#include <nlohmann/json.hpp>

#include "HostFixture.h"
#include "command/Options.h"
#include "support/Terminal.h"

namespace orvel {
namespace {

using testing::HasSubstr;

class HostileInputTest : public HostTest {};

// Output is named after the input, and the name is one component of a path.
TEST_F(HostileInputTest, NamesStayInTheirFolder) {
    const std::pair<const char*, const char*> cases[] = {
            {"../../etc/passwd", "passwd"},
            {"/etc/cron.d/x.flv", "x"},
            {"a/..", "output"},
            {"a/...flv", "output"},
            {"a/-.flv", "output"},
            {"a/", "output"},
            {"http://h/..%2f..%2fetc%2fx.flv", "..%2f..%2fetc%2fx"},
            {"http://h/a/..?b=/c.flv", "output"},
            {"http://h/x.flv#/../../y", "x"},
            {"http://h/a\\..\\b.flv", "a\\..\\b"},
    };
    for (const auto& [location, stem] : cases)
        EXPECT_EQ(StemOf(location, {".flv", ".f4v"}), stem) << location;
}

// Nor does what stands in that folder lead out of it.
TEST_F(HostileInputTest, LinksAreReplacedNotFollowed) {
    shell("echo keep > victim && mkdir out && ln -s ../victim out/h263_mp3.mp3");
    const std::string command = "extract --track audio -o out " + kSamples + "h263_mp3.flv";
    EXPECT_EQ(3, run(command).code);
    EXPECT_EQ(0, run(command + " --force").code);
    EXPECT_EQ("keep\n", read<std::string>("victim"));
    EXPECT_EQ("h263_mp3.mp3\n", shell("find out -type f -printf '%f\\n'").out);
}

bool IsPlain(const std::string& text) {
    return std::all_of(text.begin(), text.end(), [](char c) { return c == '\n' || (c >= ' ' && c <= '~'); });
}

TEST_F(HostileInputTest, TextOfTheFileIsShownHarmless) {
    const std::string names[] = {"\x1b[2J\r",
                                 "\u009b31m",
                                 "\x9b"
                                 "31m",
                                 "\u202etxt.\u2066",
                                 "\"\\\n{}\x7f\u2028",
                                 std::string(60000, '\x07')};
    for (const std::string& name : names) {
        FlvBuilder file;
        file.Tag(18, 0, amf::String("onMetaData") + Bytes{8, 0, 0, 0, 1} + amf::Name(name) + Bytes{0x11});
        write("case.flv", file.Finish());
        const Outcome text = run("check case.flv"), json = run("check --json case.flv");
        EXPECT_THAT(text.out, HasSubstr("has the unknown marker 17"));
        EXPECT_TRUE(IsPlain(text.out)) << testing::PrintToString(text.out);
        EXPECT_LT(text.out.size(), 2000u);
        EXPECT_THAT(nlohmann::json::parse(json.out).at("findings").dump(), HasSubstr("metadata-broken"));
        const std::string shown = EscapeJson(json.out);
        EXPECT_EQ(shown, json.out);
    }
}

TEST_F(HostileInputTest, NamesOfFilesAreShownHarmless) {
    for (const std::string name : {"a\x1b]0;b\x07.flv", "\u202evlf.a", "\xc2\x9b.flv", "\xff\x9b.flv"}) {
        write(name, ReadProjectFile("samples/h263_mp3.flv"));
        const std::string quoted = "'" + name + "'";
        const Outcome probe = run("probe " + quoted), json = run("probe --json " + quoted);
        EXPECT_TRUE(IsPlain(probe.out)) << testing::PrintToString(probe.out);
        EXPECT_EQ(nlohmann::json::parse(json.out).at("streams").size(), 2u);
        EXPECT_EQ(EscapeJson(json.out), json.out);
        EXPECT_TRUE(IsPlain(run("extract " + quoted).out));
        EXPECT_TRUE(IsPlain(run("probe './" + name + ".none'").err));
    }
}

// Only http and https are URLs; anything else is the name of a file, of which there is none.
TEST_F(HostileInputTest, UrlsReachNoFiles) {
    write("secret.flv", ReadProjectFile("samples/h263_mp3.flv"));
    const std::string urls[] = {
            "file://" + path("secret.flv"),          "FILE:" + path("secret.flv"),
            "http:file://" + path("secret.flv"),     "http://file://" + path("secret.flv"),
            "concat:" + path("secret.flv"),          "ftp://127.0.0.1:1/secret.flv",
            "scp://127.0.0.1:1" + path("secret.flv")};
    for (const std::string& url : urls) {
        const Outcome outcome = run("probe '" + url + "'");
        EXPECT_EQ(3, outcome.code) << url;
        EXPECT_EQ("", outcome.out) << url;
    }
}

// Neither the program nor the plug-in asks the system for a function that starts another program.
TEST_F(HostileInputTest, NoShellIsCalled) {
    const Outcome outcome = shell("readelf -W --dyn-syms " ORVEL_BINARY_DIR "/bin/orvel-flv " ORVEL_BINARY_DIR
                                  "/bin/liborvel_flv_http.so " ORVEL_BINARY_DIR "/bin/libflvextractor.so");
    EXPECT_THAT(outcome.out, HasSubstr(" UND dlopen"));
    EXPECT_THAT(outcome.out, testing::Not(testing::ContainsRegex(
                                     " UND (system|popen|fork|vfork|exec[lv]p?e?|fexecve|posix_spawnp?|"
                                     "wordexp)[@\n]")));
}

}  // namespace
}  // namespace orvel
