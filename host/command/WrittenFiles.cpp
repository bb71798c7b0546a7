// SPDX-License-Identifier: Apache-2.0
#include "command/WrittenFiles.h"

#include <fmt/format.h>

#include "support/Failure.h"

namespace orvel {

void WrittenFiles::requireNew(const std::string& path, const std::string& inputName) const {
    if (mPaths.count(path) == 0) return;
    throw Failure(ExitCode::kInputOutput,
                  fmt::format("{}: would replace {}, made from an input of the same name", inputName, path));
}

}  // namespace orvel
