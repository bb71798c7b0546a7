// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <set>
#include <string>

namespace orvel {

// The files that a run has written, each named after its input. Inputs of different folders may have the same
// name, and none may replace what another one has left, not even where the user lets files be replaced.
class WrittenFiles {
  public:
    // To be called before a file is begun. Throws Failure (kInputOutput) when the run has written it for an
    // input before. inputName: the input that it would be made from now, as it is shown.
    void requireNew(const std::string& path, const std::string& inputName) const;

    void add(const std::string& path) { mPaths.insert(path); }

  private:
    std::set<std::string> mPaths;
};

}  // namespace orvel
