// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <utility>

#include "loader/PluginLoader.h"
#include "support/Failure.h"

namespace orvel {

// What a command works with besides its own options: what the options of the program itself say.
class Session {
  public:
    // pluginPath: the plug-in to load; empty for the one that belongs to the program. isRecursive: whether
    // folders may be named, too, and stand for their files.
    Session(std::string pluginPath, bool isRecursive)
        : mPluginPath(std::move(pluginPath)), mIsRecursive(isRecursive) {}

    // Loaded by the first call, so that commands without one work where there is none. Throws Failure
    // (kInputOutput) when it cannot be.
    const Plugin& plugin() {
        if (!mPlugin) mPlugin = Plugin::Load(mPluginPath);
        return *mPlugin;
    }

    bool isRecursive() const { return mIsRecursive; }
    // For a command with one input and one output: throws Failure (kUsage) when folders may be named.
    void refuseFolders(const std::string& command) const {
        if (!mIsRecursive) return;
        throw Failure(ExitCode::kUsage, "-r: " + command + " takes one file, and no folders");
    }

  private:
    const std::string mPluginPath;
    const bool mIsRecursive;
    std::optional<Plugin> mPlugin;
};

}  // namespace orvel
