// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "source/ReportingSource.h"

namespace orvel {

// What liborvel_flv_http.so does: it is loaded when a URL is named, because the network library and those
// that it needs take most of the time and memory of looking at a small local file.
class HttpModule {
  public:
    // As CheckHttpUrl.
    virtual bool check(const std::string& url, std::string* shown, std::string* error) const = 0;
    // As HttpSource::Open.
    virtual android::sp<ReportingSource> open(const std::string& url, std::string* error) const = 0;

  protected:
    ~HttpModule() = default;
};

// The module's one symbol, a function that returns its HttpModule. The name changes with this header.
constexpr char kHttpModuleSymbol[] = "orvel_flv_http_module_1";
using GetHttpModule = const HttpModule* (*)();

}  // namespace orvel
