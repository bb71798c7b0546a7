// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>

namespace orvel {
namespace {

using Strings = std::vector<std::string>;

// The strings of a property: of its list, or the one behind its name.
Strings Property(const std::string& name) {
    std::ifstream file(ORVEL_SOURCE_DIR "/Android.bp");
    const std::string text(std::istreambuf_iterator<char>(file), {});
    std::smatch property;
    std::regex_search(text, property, std::regex("\n    " + name + R"(: (\[[^\]]*\]|".*"),)"));
    const std::string value = property[1];
    static const std::regex kString("\"([^\"]*)\"");
    return Strings(std::sregex_token_iterator(value.begin(), value.end(), kString, 1), {});
}

TEST(AndroidBp, BuildsWhatCMakeBuilds) {
    std::istringstream list(ORVEL_PLUGIN_SOURCES);
    const Strings built(std::istream_iterator<std::string>(list), {});
    EXPECT_GT(built.size(), 20u);
    EXPECT_THAT(Property("srcs"), testing::UnorderedElementsAreArray(built));
}

// The dialect, the warnings and what -f says that a source of the plug-in is compiled with here, but for what
// only this tree adds: stricter warnings, g++'s leave to inline what is exported, what every build of the
// device's tree has, and what presets choose.
Strings FlagsHere() {
    std::ifstream file(ORVEL_BINARY_DIR "/compile_commands.json");
    const std::string text(std::istreambuf_iterator<char>(file), {});
    const size_t end = text.find(" -o frameworks/CMakeFiles/flvextractor_objects.dir/"),
                 begin = text.rfind("\"command\"", end);
    if (end == std::string::npos) return {};
    const std::string command = text.substr(begin, end - begin);
    static const std::regex kFlag(
            " (?!-W(?:conversion|sign-conversion|shadow|old-style-cast|cast-align) |-fno-(?:exceptions|rtti) "
            "|-fPIC "
            "|-f(?:no-)?(?:sanitize|lto|fat-lto|omit-frame|semantic|profile|coverage))(-(?:std=|[fW])[^ "
            "]*)(?= |$)");
    return Strings(std::sregex_token_iterator(command.begin(), command.end(), kFlag, 1), {});
}

TEST(AndroidBp, CompilesAsCMakeDoes) {
    const Strings here = FlagsHere();
    if (here.empty()) GTEST_SKIP() << "built without compile_commands.json";
    Strings device = {"-std=" + Property("cpp_std").at(0)};
    for (const char* property : {"cflags", "cppflags"}) {
        for (const std::string& flag : Property(property)) {
            // The platform's headers have constants of four characters.
            if (flag != "-Wno-multichar") device.push_back(flag);
        }
    }
    EXPECT_THAT(device, testing::UnorderedElementsAreArray(here));
}

TEST(AndroidBp, NamesWhatIsThere) {
    for (const char* property : {"local_include_dirs", "version_script"}) {
        EXPECT_FALSE(Property(property).empty()) << property;
        for (const std::string& path : Property(property))
            EXPECT_TRUE(std::filesystem::exists(ORVEL_SOURCE_DIR "/" + path)) << path;
    }
    EXPECT_THAT(Property("shared_libs"),
                testing::UnorderedElementsAreArray({"liblog", "libutils", "libbinder", "libmedia",
                                                    "libstagefright", "libstagefright_foundation"}));
}

}  // namespace
}  // namespace orvel
