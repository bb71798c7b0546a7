// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "av/AvModule.h"
#include "inspect/Inspection.h"

namespace orvel {

// What a container can say of a file beside its tracks: the strings of onMetaData as tags, its rotation, the
// frame rate where frames are even, and navigation cue points, from onMetaData or from tags of their own, as
// chapters, up to toUs. video may be null.
MuxDetails DetailsOf(const Inspection& inspection, const StreamSeen* video, int64_t toUs);

// The script data that such a container has no place for, each by name and number, as a clause; empty when
// there is none. hasChapters: whether it takes those.
std::string DroppedScripts(const Inspection& inspection, bool hasChapters);

}  // namespace orvel
