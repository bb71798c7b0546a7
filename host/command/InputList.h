// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

namespace orvel {

// The files that are meant when folders may be named, too: each folder is replaced by the files in it and
// below it that end in .flv or .f4v (in any letter case), sorted by path. Links to folders are not followed.
// Whatever cannot be looked into stays as it is, for whoever opens it to complain about.
std::vector<std::string> ExpandFolders(const std::vector<std::string>& locations);

}  // namespace orvel
