// SPDX-License-Identifier: Apache-2.0
#include <android/log.h>
#include <stdio.h>
#include <stdlib.h>

#include "HostileShapes.h"

namespace {

constexpr size_t kSizes[] = {1 << 20, 4 << 20, 16 << 20};
constexpr size_t kSteps = sizeof(kSizes) / sizeof(kSizes[0]);

// Of one fourfold step.
constexpr double kMostGrowth = 5;

// What times below this grow by says nothing.
constexpr double kShortSeconds = 0.02;

}  // namespace

// What the plug-in reads, and how long it takes, for files that are made to be expensive, at three sizes.
// Ends with 1 when any of the counts, or with the argument "time" any of the times, grows out of proportion.
int main(int argc, char** argv) {
    __android_log_set_minimum_priority(ANDROID_LOG_FATAL);
    const bool judgesTime = argc > 1 && strcmp(argv[1], "time") == 0;
    bool isLinear = true;
    double worst[3] = {};
    printf("%-25s %-14s %31s %26s %23s   growth per fourfold size\n", "file of 1, 4 and 16 MiB", "deed",
           "reads", "MB read", "ms");
    for (const orvel::HostileShape& shape : orvel::HostileShapes()) {
        std::vector<uint8_t> files[kSteps];
        for (size_t i = 0; i < kSteps; ++i)
            files[i] = shape.make(kSizes[i]);
        for (const orvel::Deed& deed : orvel::Deeds()) {
            orvel::Cost costs[kSteps];
            double growth[3] = {};
            for (size_t i = 0; i < kSteps; ++i) {
                costs[i] = deed.cost(files[i]);
                if (i == 0) continue;
                const orvel::Growth counts = GrowthOf(deed, costs[i - 1], costs[i], kSizes[i - 1]);
                growth[0] = std::max(growth[0], counts.reads);
                growth[1] = std::max(growth[1], counts.bytes);
                growth[2] =
                        std::max(growth[2], costs[i].seconds / std::max(costs[i - 1].seconds, kShortSeconds));
            }
            const bool grows = growth[0] > kMostGrowth || growth[1] > kMostGrowth ||
                               (judgesTime && growth[2] > kMostGrowth);
            isLinear = isLinear && !grows;
            printf("%-25s %-14s", shape.name, deed.name);
            for (const orvel::Cost& cost : costs)
                printf(" %10llu", static_cast<unsigned long long>(cost.reads));
            for (const orvel::Cost& cost : costs)
                printf(" %8.1f", static_cast<double>(cost.bytes) / 1e6);
            for (const orvel::Cost& cost : costs)
                printf(" %7.1f", cost.seconds * 1e3);
            printf("   %.1f %.1f %.1f%s\n", growth[0], growth[1], growth[2],
                   grows ? "  OUT OF PROPORTION" : "");
            for (size_t i = 0; i < 3; ++i)
                worst[i] = std::max(worst[i], growth[i]);
        }
    }
    printf("most growth per fourfold size: reads %.1f, bytes %.1f, time %.1f\n", worst[0], worst[1],
           worst[2]);
    return isLinear ? EXIT_SUCCESS : EXIT_FAILURE;
}
