// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/stat.h>

#include <set>
#include <string>
#include <utility>
#include <vector>

namespace orvel {

// The files that a run has written, each named after its input. Inputs of different folders may have the same
// name, and none may replace what another one has left, nor another input, not even where the user lets files
// be replaced.
class WrittenFiles {
  public:
    // The inputs of the run.
    void spare(const std::vector<std::string>& locations);

    // To be called before a file is begun. Throws Failure (kInputOutput) when it is an input of the run or
    // was written for one before. inputName: the input that it would be made from now, as it is shown.
    void requireNew(const std::string& path, const std::string& inputName) const;

    void add(const std::string& path) { mPaths.insert(path); }

  private:
    std::set<std::string> mPaths;
    std::set<std::pair<dev_t, ino_t>> mInputs;
};

}  // namespace orvel
