// SPDX-License-Identifier: Apache-2.0
#include "command/InputList.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "command/Options.h"
#include "source/OpenSource.h"

namespace orvel {
namespace {

namespace fs = std::filesystem;

// The same that the plug-in serves. It is not asked, since some commands do without it.
bool IsFlv(const std::string& name) {
    return HasExtension(name, ".flv") || HasExtension(name, ".f4v");
}

std::vector<std::string> FilesIn(const std::string& folder) {
    std::vector<std::string> files;
    std::error_code error;
    auto options = fs::directory_options::skip_permission_denied;
    for (fs::recursive_directory_iterator at(folder, options, error), end; !error && at != end;
         at.increment(error)) {
        std::error_code ignored;
        if (at->is_regular_file(ignored) && IsFlv(at->path())) files.push_back(at->path().string());
    }
    std::sort(files.begin(), files.end());
    return files;
}

}  // namespace

std::vector<std::string> ExpandFolders(const std::vector<std::string>& locations) {
    std::vector<std::string> expanded;
    for (const std::string& location : locations) {
        std::error_code error;
        bool isFolder = !IsUrl(location) && fs::is_directory(location, error);
        std::vector<std::string> files;
        if (isFolder) files = FilesIn(location);
        if (isFolder && !error) {
            expanded.insert(expanded.end(), files.begin(), files.end());
        } else {
            expanded.push_back(location);
        }
    }
    return expanded;
}

}  // namespace orvel
