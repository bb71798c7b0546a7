// SPDX-License-Identifier: Apache-2.0
#include "loader/PluginLoader.h"

#include <dlfcn.h>
#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "support/Failure.h"

namespace orvel {
namespace {

namespace fs = std::filesystem;

constexpr char kLibrary[] = "libflvextractor.so";

constexpr char kGetSupportExtension[] = "_ZN7android19getSupportExtensionERNS_12SortedVectorINS_7String8EEE";
constexpr char kGetMimeString[] = "_ZN7android13getMimeStringEPNS_7String8E";
constexpr char kSniffer[] =
        "_ZN7android7SnifferERKNS_2spINS_10DataSourceEEEPNS_7String8EPfPNS0_INS_8AMessageEEE";
constexpr char kCreateInstance[] =
        "_ZN7android14createInstanceERKNS_2spINS_10DataSourceEEERKNS0_INS_8AMessageEEE";

std::string FindLibrary() {
    std::error_code error;
    fs::path folder = fs::read_symlink("/proc/self/exe", error).parent_path();
    std::vector<std::string> tried;
    for (const char* place : {".", ORVEL_PLUGIN_FOLDER, "../lib"}) {
        fs::path candidate = (folder / place / kLibrary).lexically_normal();
        if (fs::exists(candidate, error)) return candidate;
        bool isNew = std::find(tried.begin(), tried.end(), candidate.string()) == tried.end();
        if (isNew) tried.push_back(candidate.string());
    }
    throw Failure(ExitCode::kInputOutput,
                  fmt::format("the plug-in was not found (looked for {}); name it with --plugin",
                              fmt::join(tried, ", ")));
}

template <typename Function>
void Look(void* library, const std::string& path, const char* symbol, Function* function) {
    *function = reinterpret_cast<Function>(dlsym(library, symbol));
    if (*function != nullptr) return;
    throw Failure(ExitCode::kInputOutput,
                  fmt::format("{}: not an extractor plug-in: it does not export {}", path, symbol));
}

}  // namespace

Plugin Plugin::Load(const std::string& named) {
    // A name without a slash would send the dynamic loader through its own search path.
    std::string path = named.empty() ? FindLibrary() : fs::absolute(named).string();
    void* library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) {
        throw Failure(ExitCode::kInputOutput, fmt::format("the plug-in cannot be loaded: {}", dlerror()));
    }
    Plugin plugin;
    Look(library, path, kGetSupportExtension, &plugin.mGetSupportExtension);
    Look(library, path, kGetMimeString, &plugin.mGetMimeString);
    Look(library, path, kSniffer, &plugin.mSniffer);
    Look(library, path, kCreateInstance, &plugin.mCreateInstance);
    plugin.describe();
    return plugin;
}

void Plugin::describe() {
    android::SortedVector<android::String8> extensions;
    mGetSupportExtension(extensions);
    for (size_t i = 0; i < extensions.size(); ++i)
        mExtensions.emplace_back(extensions[i].string());
    android::String8 mime;
    mGetMimeString(&mime);
    mMimeType = mime.string();
}

bool Plugin::sniff(const android::sp<android::DataSource>& source) const {
    android::String8 mime;
    float confidence = 0;
    android::sp<android::AMessage> meta;
    return mSniffer(source, &mime, &confidence, &meta) && confidence > 0 && mMimeType == mime.string();
}

android::sp<android::MediaExtractor> Plugin::createExtractor(
        const android::sp<android::DataSource>& source) const {
    return mCreateInstance(source, android::sp<android::AMessage>());
}

}  // namespace orvel
