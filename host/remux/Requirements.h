// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "command/Input.h"
#include "remux/Container.h"

namespace orvel {

// Throws Failure for a track that a container's writer would refuse, or that nothing could be decoded of:
// kDamaged for pictures without a size or parameter sets, with the byte offset of what should tell them, and
// kUsage for AAC that has no form in a transport stream.
void RequireDescribed(const Input& input, const std::vector<size_t>& tracks, const Container& container);

}  // namespace orvel
