// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "support/Failure.h"

namespace orvel {

// The inputs of a run, one after the other.
class InputList {
  public:
    // Folders are replaced only when the user has asked for it (expandsFolders): each by the files in and
    // below it that end in .flv or .f4v (in any letter case), sorted by path. Links to folders are not
    // followed. A name that cannot be looked into stays as it is, for whoever opens it to complain about; of
    // a folder below that cannot be read it is said at once, and the result of forEach() is at least
    // kInputOutput, and likewise of a folder without such files (kDamaged).
    InputList(const std::vector<std::string>& names, bool expandsFolders);

    const std::vector<std::string>& locations() const { return mLocations; }
    size_t size() const { return mLocations.size(); }

    // Does the work for each input in turn. One that fails is complained about, and the next one is taken;
    // the result is the worst exit code.
    ExitCode forEach(const std::function<ExitCode(const std::string&)>& work) const;

  private:
    void addFolder(const std::string& folder);

    std::vector<std::string> mLocations;
    ExitCode mWorst = ExitCode::kDone;
};

}  // namespace orvel
