// SPDX-License-Identifier: Apache-2.0
#include "av/LoadAvModule.h"

#include <dlfcn.h>
#include <fmt/format.h>

#include <filesystem>
#include <system_error>

#include "support/Failure.h"

namespace orvel {
namespace {

namespace fs = std::filesystem;

constexpr char kLibrary[] = "liborvel_flv_av.so";
constexpr char kNeeded[] = "this command needs the codec module";

std::string FindModule() {
    std::error_code error;
    fs::path folder = fs::read_symlink("/proc/self/exe", error).parent_path();
    std::string tried;
    for (const char* place : {".", ORVEL_PLUGIN_FOLDER "/orvel-flv", "../lib/orvel-flv"}) {
        fs::path candidate = (folder / place / kLibrary).lexically_normal();
        if (fs::exists(candidate, error)) return candidate;
        if (tried.find(candidate) != std::string::npos) continue;
        tried += (tried.empty() ? "" : ", ") + candidate.string();
    }
    throw Failure(ExitCode::kInputOutput,
                  fmt::format("{}, which is not installed (looked for {}); it is built where libavformat, "
                              "libavcodec, libavutil and libswscale are at hand",
                              kNeeded, tried));
}

const AvModule& Load() {
    std::string path = FindModule();
    void* library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) {
        throw Failure(ExitCode::kInputOutput,
                      fmt::format("{}, which cannot be loaded: {}", kNeeded, dlerror()));
    }
    auto get = reinterpret_cast<GetAvModule>(dlsym(library, kAvModuleSymbol));
    if (get != nullptr) return *get();
    throw Failure(ExitCode::kInputOutput, fmt::format("{}: of another version than this program", path));
}

}  // namespace

const AvModule& LoadAvModule() {
    static const AvModule& module = Load();
    return module;
}

}  // namespace orvel
