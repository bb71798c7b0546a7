// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <media/stagefright/DataSource.h>

#include <string>

namespace orvel {

// Why a source yields no track: "byte offset N: expected ..., found ...", for the first place in the header
// and the chain of tags that is not as FLV has it, or, where nothing is wrong, for what the tags hold.
std::string ExplainRejection(android::DataSource& source, int64_t size);

}  // namespace orvel
