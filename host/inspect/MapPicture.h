// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "inspect/Inspection.h"

namespace orvel {

// One picture of a file, 1200 pixels wide: over time the data rate of each kind of stream, key frames, the
// index's entries (right and wrong) and how far audio is ahead of video; from the first byte to the last what
// lies where; and what was found. Where tags were lost, a red band runs through.
std::string DrawMap(const std::string& name, const Inspection& report);

}  // namespace orvel
