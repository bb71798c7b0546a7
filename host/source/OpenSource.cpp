// SPDX-License-Identifier: Apache-2.0
#include "source/OpenSource.h"

#include <strings.h>

#include "source/FileSource.h"
#include "source/StandardInput.h"
#ifdef ORVEL_HAVE_HTTP
#include "source/HttpSource.h"
#include "source/HttpUrl.h"
#endif

namespace orvel {
namespace {

bool StartsWithNoCase(const std::string& text, const char* prefix, size_t length) {
    return strncasecmp(text.c_str(), prefix, length) == 0;
}

}  // namespace

bool IsUrl(const std::string& location) {
    return StartsWithNoCase(location, "http://", 7) || StartsWithNoCase(location, "https://", 8);
}

std::string ShownLocation(const std::string& location) {
    if (location == kStandardInput) return "standard input";
#ifdef ORVEL_HAVE_HTTP
    std::string shown, error;
    if (IsUrl(location) && CheckHttpUrl(location, &shown, &error)) return shown;
#endif
    return location;
}

android::sp<android::DataSource> OpenSource(const std::string& location, std::string* error) {
    if (IsUrl(location)) {
#ifdef ORVEL_HAVE_HTTP
        return HttpSource::Open(location, error);
#else
        *error = "this build cannot fetch URLs (it was configured without libcurl)";
        return nullptr;
#endif
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
#ifdef ORVEL_HAVE_HTTP
    if (auto* http = dynamic_cast<HttpSource*>(source.get())) return http->lastError();
#endif
    auto* file = dynamic_cast<FileSource*>(source.get());
    std::string reason = file != nullptr ? file->lastError() : "";
    return location + ": " + (reason.empty() ? "a read failed" : reason);
}

}  // namespace orvel
