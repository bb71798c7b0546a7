// SPDX-License-Identifier: Apache-2.0
#include "command/InputList.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "command/Options.h"
#include "source/OpenSource.h"
#include "support/Progress.h"
#include "support/Terminal.h"

namespace orvel {
namespace {

namespace fs = std::filesystem;

// The same that the plug-in serves. It is not asked, since some commands do without it.
bool IsFlv(const std::string& name) {
    return HasExtension(name, ".flv") || HasExtension(name, ".f4v");
}

// Adds the FLV files in and below a folder. False, with complaints, when some of it could not be read.
bool AddFilesIn(const fs::path& folder, std::vector<std::string>* files) {
    std::error_code error;
    bool isWhole = true;
    for (fs::directory_iterator at(folder, error), end; !error && at != end; at.increment(error)) {
        std::error_code ignored;
        if (at->is_directory(ignored) && !at->is_symlink(ignored)) {
            isWhole &= AddFilesIn(at->path(), files);
        } else if (at->is_regular_file(ignored) && IsFlv(at->path())) {
            files->push_back(at->path().string());
        }
    }
    if (error) Complain(folder.string() + ": " + error.message());
    return isWhole && !error;
}

}  // namespace

InputList::InputList(const std::vector<std::string>& names, bool expandsFolders) {
    for (const std::string& name : names) {
        std::error_code error;
        bool isFolder = expandsFolders && !IsUrl(name) && fs::is_directory(name, error);
        // One that cannot be opened would seem to be empty.
        if (isFolder) fs::directory_iterator(name, error);
        if (isFolder && !error) {
            addFolder(name);
        } else {
            mLocations.push_back(name);
        }
    }
}

void InputList::addFolder(const std::string& folder) {
    std::vector<std::string> files;
    if (!AddFilesIn(folder, &files)) mWorst = Worse(mWorst, ExitCode::kInputOutput);
    std::sort(files.begin(), files.end());
    mLocations.insert(mLocations.end(), files.begin(), files.end());
    if (!files.empty()) return;
    Complain(folder + ": no FLV files in or below this folder");
    mWorst = Worse(mWorst, ExitCode::kDamaged);
}

ExitCode InputList::forEach(const std::function<ExitCode(const std::string&)>& work) const {
    ExitCode worst = mWorst;
    for (size_t i = 0; i < mLocations.size(); ++i) {
        SetProgressPlace(i + 1, mLocations.size());
        try {
            worst = Worse(worst, work(mLocations[i]));
        } catch (const Failure& failure) {
            Complain(failure.what());
            worst = Worse(worst, failure.code());
        }
    }
    ClearStatus();
    return worst;
}

}  // namespace orvel
