// SPDX-License-Identifier: Apache-2.0
#include "command/WrittenFiles.h"

#include <fmt/format.h>

#include "support/Failure.h"

namespace orvel {

void WrittenFiles::spare(const std::vector<std::string>& locations) {
    struct stat file;
    for (const std::string& location : locations) {
        if (stat(location.c_str(), &file) == 0) mInputs.emplace(file.st_dev, file.st_ino);
    }
}

void WrittenFiles::requireNew(const std::string& path, const std::string& inputName) const {
    struct stat file;
    if (stat(path.c_str(), &file) == 0 && mInputs.count({file.st_dev, file.st_ino}) > 0)
        throw Failure(ExitCode::kInputOutput, fmt::format("{}: would replace {}, an input", inputName, path));
    if (mPaths.count(path) == 0) return;
    throw Failure(ExitCode::kInputOutput,
                  fmt::format("{}: would replace {}, made from an input of the same name", inputName, path));
}

}  // namespace orvel
