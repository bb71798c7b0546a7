// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "support/Dump.h"
#include "support/FlvBuilder.h"

namespace orvel {
namespace {

// Everything that the extractor makes of each file, against the text that was reviewed. With
// ORVEL_REGENERATE_GOLDEN=1 in the environment the texts are written anew first: review what changed in them.
TEST(Golden, DumpsAreAsReviewed) {
    for (const std::string& file : ProjectFlvFiles()) {
        const std::string golden = "tests/golden/" + std::filesystem::path(file).stem().string() + ".txt";
        const std::string dump = Dump(ReadProjectFile(file));
        if (getenv("ORVEL_REGENERATE_GOLDEN") != nullptr) {
            std::ofstream(ORVEL_SOURCE_DIR "/" + golden, std::ios::binary) << dump;
        }
        const Bytes reviewed = ReadProjectFile(golden);
        EXPECT_EQ(std::string(reviewed.begin(), reviewed.end()), dump) << file;
    }
}

}  // namespace
}  // namespace orvel
