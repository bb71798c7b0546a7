// SPDX-License-Identifier: Apache-2.0
#include <android/log.h>
#include <gtest/gtest.h>

#include <map>

#include "HostileShapes.h"

namespace orvel {
namespace {

constexpr size_t kSmall = 256 << 10, kLarge = 4 * kSmall;

// Reads for each 4096 bytes of the file that are worth holding on to. Others may cost what they cost as long
// as it grows with the file.
const std::map<std::pair<std::string, std::string>, double> kMostReads = {
        {{"candidates near by", "sync"}, 24},        // one refill and what lies about its end
        {{"candidates 08 09", "sync, caching"}, 4},  // none of them is believed
        {{"empty tags", "open"}, 1.2},
        {{"tiny script tags", "open"}, 1.2},
        {{"tiny script tags", "seek, caching"}, 4},
        {{"nested arrays", "open"}, 1.2},
        {{"names of 255", "open"}, 1.2},
        {{"many times", "open"}, 1.2},
        {{"index backwards", "seek"}, 1.2},
        {{"late video", "seek, caching"}, 2.2},      // the passes do not each go to the end
        {{"late key frame", "seek, caching"}, 1.8},  // nor to the next key frame
        {{"hidden tags", "seek, caching"}, 2.2},
        {{"looping chain", "seek"}, 4},
};

TEST(Growth, ReadsAreInProportionToTheFile) {
    __android_log_set_minimum_priority(ANDROID_LOG_FATAL);
    size_t held = 0;
    for (const HostileShape& shape : HostileShapes()) {
        const std::vector<uint8_t> small = shape.make(kSmall), large = shape.make(kLarge);
        for (const Deed& deed : Deeds()) {
            // Only these files have something to stop a search at; through the others it goes byte by byte.
            if (strncmp(deed.name, "sync", 4) == 0 && strncmp(shape.name, "candidates", 10) != 0) continue;
            SCOPED_TRACE(std::string(shape.name) + ": " + deed.name);
            const Cost before = deed.cost(small), after = deed.cost(large);
            const Growth growth = GrowthOf(deed, before, after, small.size());
            EXPECT_LE(growth.reads, 5);
            EXPECT_LE(growth.bytes, 5);
            const auto most = kMostReads.find({shape.name, deed.name});
            if (most == kMostReads.end()) continue;
            ++held;
            EXPECT_LE(static_cast<double>(after.reads) / (kLarge / 4096), most->second);
        }
    }
    EXPECT_EQ(held, kMostReads.size());
}

}  // namespace
}  // namespace orvel
