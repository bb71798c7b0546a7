// SPDX-License-Identifier: Apache-2.0
#include <android/log.h>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <malloc.h>
#include <media/stagefright/foundation/AMessage.h>

#include <fstream>

#include "support/FlvBuilder.h"
#include "support/Session.h"

namespace orvel {
namespace {

using namespace android;

void LoadUseAndUnload(const sp<DataSource>& source) {
    void* library = dlopen(ORVEL_PLUGIN, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(library, nullptr) << dlerror();
    const auto create = reinterpret_cast<MediaExtractor* (*)(const sp<DataSource>&, const sp<AMessage>&)>(
            dlsym(library, "_ZN7android14createInstanceERKNS_2spINS_10DataSourceEEERKNS0_INS_8AMessageEEE"));
    EXPECT_TRUE(Read(sp<MediaExtractor>(create(source, nullptr))->getTrack(1).get()));
    ASSERT_EQ(dlclose(library), 0);
}

size_t HeapBytes() {
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

std::string MappedRegions() {
    std::ifstream maps("/proc/self/maps");
    return std::string(std::istreambuf_iterator<char>(maps), {});
}

TEST(Load, AThousandTimesWithoutGrowth) {
    __android_log_set_minimum_priority(ANDROID_LOG_FATAL);
    const sp<MemorySource> source = new MemorySource(ReadProjectFile("samples/avc_aac_index.flv"));
    std::string regions;
    size_t heap = 0;
    for (int i = 1; i <= 1000; ++i) {
        ASSERT_NO_FATAL_FAILURE(LoadUseAndUnload(source));
        source->calls.clear();
        if (i == 10) regions = MappedRegions(), heap = HeapBytes();
    }
    EXPECT_EQ(HeapBytes(), heap);
    EXPECT_EQ(MappedRegions(), regions);
    EXPECT_EQ(regions.find("libflvextractor"), std::string::npos);
}

}  // namespace
}  // namespace orvel
