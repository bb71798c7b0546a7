// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "source/FileSource.h"

namespace orvel {

constexpr char kStandardInput[] = "-";

// Standard input as a source with random access: the file itself when it is one, and otherwise all that
// comes, kept in a file without a name in $TMPDIR (or /tmp) that is gone with the program. Null when that
// fails; *error says why.
android::sp<FileSource> OpenStandardInput(std::string* error);

}  // namespace orvel
