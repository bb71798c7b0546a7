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
