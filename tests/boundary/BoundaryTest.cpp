// SPDX-License-Identifier: Apache-2.0
#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <media/stagefright/MediaBuffer.h>
#include <media/stagefright/MediaExtractor.h>
#include <media/stagefright/foundation/AMessage.h>
#include <utils/SortedVector.h>
#include <utils/String8.h>

#include <cstdio>
#include <fstream>
#include <set>

#include "support/MemorySource.h"

namespace orvel {
namespace {

using namespace android;

std::set<std::string> OutputWords(const char* command) {
    std::set<std::string> words;
    FILE* output = popen(command, "r");
    char word[512];
    while (fscanf(output, "%511s", word) == 1)
        words.insert(word);
    EXPECT_EQ(pclose(output), 0) << command;
    return words;
}

// Both ways: the linker passes over a listed name that does not exist.
TEST(Boundary, ExportsWhatIsListed) {
    const auto listed =
            OutputWords("grep -o '_Z[[:alnum:]_]*' " ORVEL_SOURCE_DIR "/frameworks/libflvextractor.map");
    EXPECT_THAT(OutputWords(ORVEL_NM " -D -P --defined-only " ORVEL_PLUGIN " | cut -d' ' -f1"),
                testing::ContainerEq(listed));
}

template <typename Function>
Function* Find(void* library, const char* name) {
    EXPECT_NE(dlsym(library, name), nullptr) << name;
    return reinterpret_cast<Function*>(dlsym(library, name));
}

void ReadOneSample(void* library) {
    Find<bool(SortedVector<String8>&)>(library,
                                       "_ZN7android19getSupportExtensionERNS_12SortedVectorINS_7String8EEE");
    Find<bool(String8*)>(library, "_ZN7android13getMimeStringEPNS_7String8E");
    const auto sniff = Find<bool(const sp<DataSource>&, String8*, float*, sp<AMessage>*)>(
            library, "_ZN7android7SnifferERKNS_2spINS_10DataSourceEEEPNS_7String8EPfPNS0_INS_8AMessageEEE");
    const auto create = Find<MediaExtractor*(const sp<DataSource>&, const sp<AMessage>&)>(
            library, "_ZN7android14createInstanceERKNS_2spINS_10DataSourceEEERKNS0_INS_8AMessageEEE");
    std::ifstream file(ORVEL_SOURCE_DIR "/samples/h263_mp3.flv", std::ios::binary);
    const sp<DataSource> source = new MemorySource(Bytes(std::istreambuf_iterator<char>(file), {}));
    String8 mime;
    float confidence;
    EXPECT_TRUE(sniff(source, &mime, &confidence, nullptr));
    const sp<IMediaSource> video = sp<MediaExtractor>(create(source, nullptr))->getTrack(0);
    MediaBuffer* buffer = nullptr;
    ASSERT_TRUE(video->start() == OK && video->read(&buffer) == OK);
    EXPECT_EQ(buffer->range_length(), 12564u);
    buffer->release();
}

// As the framework's loader does, twice: what the first time leaves behind would meet the second.
TEST(Boundary, LoadsIsUsedAndUnloads) {
    for (int i = 0; i < 2; ++i) {
        void* library = dlopen(ORVEL_PLUGIN, RTLD_NOW | RTLD_LOCAL);
        ASSERT_NE(library, nullptr) << dlerror();
        ReadOneSample(library);
        EXPECT_EQ(dlclose(library), 0);
        EXPECT_EQ(dlopen(ORVEL_PLUGIN, RTLD_NOW | RTLD_NOLOAD), nullptr);
    }
}

// Every constant by its exported name, and every row of both codec tables through a look-up.
TEST(Boundary, RegistryHoldsWhatIsListed) {
    void* library = dlopen(ORVEL_PLUGIN, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(library, nullptr) << dlerror();
    const auto constant = [library](const std::string& name) -> std::string {
        const std::string symbol = "_ZN7android" + std::to_string(name.size()) + name + "E";
        const auto* value = static_cast<const char* const*>(dlsym(library, symbol.c_str()));
        return value ? *value : "no " + symbol;
    };
    const auto mimeOf = Find<const char*(unsigned, unsigned*)>(library, "_ZN7android11GetMimeTypeEjPj");
    std::ifstream list(ORVEL_SOURCE_DIR "/tests/boundary/registry.txt");
    std::string kind, first, second;
    unsigned id, found, rows = 0;
    for (; list >> kind; ++rows) {
        if (kind == "mime" && list >> first >> second) {
            EXPECT_EQ(constant(first), second) << first;
        } else if (kind == "codec" && list >> first >> second >> id) {
            const char* mime = mimeOf(static_cast<unsigned>(std::stoul(first, nullptr, 16)), &found);
            EXPECT_EQ(mime ? mime : "", constant(second)) << first;
            EXPECT_EQ(found, id) << first;
        } else {
            std::getline(list, first);
            --rows;
        }
    }
    EXPECT_EQ(rows, 105u + 27 + 44);
    dlclose(library);
}

}  // namespace
}  // namespace orvel
