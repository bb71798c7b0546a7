// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <utility>

#include "loader/PluginLoader.h"

namespace orvel {

// What a command works with besides its own options: what the options of the program itself say.
class Session {
  public:
    // pluginPath: the plug-in to load; empty for the one that belongs to the program.
    explicit Session(std::string pluginPath) : mPluginPath(std::move(pluginPath)) {}

    // Loaded by the first call, so that commands without one work where there is none. Throws Failure
    // (kInputOutput) when it cannot be.
    const Plugin& plugin() {
        if (!mPlugin) mPlugin = Plugin::Load(mPluginPath);
        return *mPlugin;
    }

  private:
    const std::string mPluginPath;
    std::optional<Plugin> mPlugin;
};

}  // namespace orvel
