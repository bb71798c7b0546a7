// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>

#include <optional>
#include <string>
#include <vector>

#include "flv/TagChain.h"
#include "support/ByteSpan.h"

namespace orvel {

// What a script tag's onMetaData says of the file (Action Message Format, AMF 0). Of an array no more is
// taken than the tag has bytes for.
struct Metadata {
    std::optional<double> durationSeconds;
    std::vector<double> positions;  // of the key-frame index: offsets of tags
    std::vector<double> times;      // in seconds
    std::string error;              // why the parse ended early, as a clause; empty when it did not
    size_t errorOffset = 0;         // where in the tag's data
};

// Nothing when the data is not an onMetaData.
std::optional<Metadata> ParseMetadata(ByteSpan data);

// The same of a script tag in a file.
std::optional<Metadata> ReadMetadata(TagChain& chain, const TagUnit& unit);

}  // namespace orvel
