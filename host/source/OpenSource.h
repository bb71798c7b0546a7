// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <media/stagefright/DataSource.h>

#include <string>

namespace orvel {

// Whether a location is a URL of the kind that is fetched; every other location is a path.
bool IsUrl(const std::string& location);

// The location as messages and reports show it: of a URL, without credentials and query.
std::string ShownLocation(const std::string& location);

// Opens what the user named: a URL with http:// or https:// (in any letter case), standard input as "-", or
// else a path. Null when that fails; *error is then a line that names the location and says why.
android::sp<android::DataSource> OpenSource(const std::string& location, std::string* error);

// The line that says what a read of a source made for that location failed of.
std::string LastReadError(const android::sp<android::DataSource>& source, const std::string& location);

}  // namespace orvel
