// SPDX-License-Identifier: Apache-2.0
#include "source/HttpModule.h"

#include "source/HttpSource.h"
#include "source/HttpUrl.h"

namespace orvel {
namespace {

class Module : public HttpModule {
  public:
    bool check(const std::string& url, std::string* shown, std::string* error) const override {
        return CheckHttpUrl(url, shown, error);
    }
    android::sp<ReportingSource> open(const std::string& url, std::string* error) const override {
        return HttpSource::Open(url, error);
    }
};

}  // namespace
}  // namespace orvel

extern "C" __attribute__((visibility("default"))) const orvel::HttpModule* orvel_flv_http_module_1() {
    static const orvel::Module module;
    return &module;
}
