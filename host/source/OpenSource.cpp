// SPDX-License-Identifier: Apache-2.0
#include "source/OpenSource.h"

#include <strings.h>

#include "source/FileSource.h"
#include "source/HttpModule.h"
#include "source/StandardInput.h"
#include "support/Failure.h"
#include "support/LoadModule.h"

namespace orvel {
namespace {

bool StartsWithNoCase(const std::string& text, const char* prefix, size_t length) {
    return strncasecmp(text.c_str(), prefix, length) == 0;
}

// For what cannot be taken apart as a URL, where a password may stand anywhere in front of an @.
std::string WithoutSecrets(const std::string& text) {
    std::string shown = text.substr(0, text.find_first_of("?#"));
    size_t begin = shown.find("//") + 2, end = shown.rfind('@');
    if (end != std::string::npos && end >= begin) shown.erase(begin, end + 1 - begin);
    return shown;
}

const HttpModule& LoadHttpModule() {
    static const auto get = reinterpret_cast<GetHttpModule>(
            LoadModule({"liborvel_flv_http.so", kHttpModuleSymbol, "a URL needs the network module",
                        "it is built with the program"}));
    return *get();
}

// The URL as messages show it, or false with the reason why it cannot be opened; never throws.
bool CheckUrl(const std::string& url, std::string* shown, std::string* error) {
    try {
        return LoadHttpModule().check(url, shown, error);
    } catch (const Failure& failure) {
        *error = failure.what();
        return false;
    }
}

}  // namespace

bool IsUrl(const std::string& location) {
    return StartsWithNoCase(location, "http://", 7) || StartsWithNoCase(location, "https://", 8);
}

std::string ShownLocation(const std::string& location) {
    if (location == kStandardInput) return "standard input";
    if (!IsUrl(location)) return location;
    std::string shown, error;
    return CheckUrl(location, &shown, &error) ? shown : WithoutSecrets(location);
}

android::sp<android::DataSource> OpenSource(const std::string& location, std::string* error) {
    if (IsUrl(location)) {
        std::string shown, why;
        if (CheckUrl(location, &shown, &why)) return LoadHttpModule().open(location, error);
        *error = WithoutSecrets(location) + ": " + why;
        return nullptr;
    }
    std::string reason;
    if (location == kStandardInput) {
        android::sp<FileSource> input = OpenStandardInput(&reason);
        if (input == nullptr) *error = ShownLocation(location) + ": " + reason;
        return input;
    }
    android::sp<FileSource> file = FileSource::Open(location, &reason);
    if (file == nullptr) *error = location + ": " + reason;
    return file;
}

std::string LastReadError(const android::sp<android::DataSource>& source, const std::string& location) {
    auto* reporting = dynamic_cast<ReportingSource*>(source.get());
    std::string reason = reporting != nullptr ? reporting->lastError() : "";
    if (IsUrl(location) && !reason.empty()) return reason;  // it names the URL itself
    return location + ": " + (reason.empty() ? "a read failed" : reason);
}

}  // namespace orvel
