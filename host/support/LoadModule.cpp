// SPDX-License-Identifier: Apache-2.0
#include "support/LoadModule.h"

#include <dlfcn.h>
#include <fmt/format.h>

#include <filesystem>
#include <system_error>

#include "support/Failure.h"

namespace orvel {
namespace {

namespace fs = std::filesystem;

std::string FindModule(const ModuleName& name) {
    std::error_code error;
    fs::path folder = fs::read_symlink("/proc/self/exe", error).parent_path();
    std::string tried;
    for (const char* place : {".", ORVEL_PLUGIN_FOLDER "/orvel-flv", "../lib/orvel-flv"}) {
        fs::path candidate = (folder / place / name.library).lexically_normal();
        if (fs::exists(candidate, error)) return candidate;
        if (tried.find(candidate) != std::string::npos) continue;
        tried += (tried.empty() ? "" : ", ") + candidate.string();
    }
    throw Failure(ExitCode::kInputOutput, fmt::format("{}, which is not installed (looked for {}); {}",
                                                      name.needed, tried, name.builtIf));
}

}  // namespace

void* LoadModule(const ModuleName& name) {
    std::string path = FindModule(name);
    void* library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) {
        throw Failure(ExitCode::kInputOutput,
                      fmt::format("{}, which cannot be loaded: {}", name.needed, dlerror()));
    }
    void* address = dlsym(library, name.symbol);
    if (address != nullptr) return address;
    throw Failure(ExitCode::kInputOutput, fmt::format("{}: of another version than this program", path));
}

}  // namespace orvel
