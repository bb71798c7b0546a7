// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "support/ByteSpan.h"

namespace orvel {

// The container's tags as a plain walk over the bytes finds them: shares no code with the reader under test.
struct FlvTag {
    size_t slot;            // offset of its PreviousTagSize field
    uint32_t previousSize;  // what that field says
    uint8_t type;
    uint32_t timestamp;  // milliseconds
    ByteSpan data;
    size_t end() const { return slot + 15 + data.size; }
};

// The tag at a slot, when it lies whole in the file.
std::optional<FlvTag> TagAt(ByteSpan file, int64_t slot);

// Every tag from a slot on, up to the first that does not lie whole in the file.
std::vector<FlvTag> TagsFrom(ByteSpan file, int64_t slot);

// Where the file header says that the tags begin; negative ones are meant.
int64_t FirstSlot(ByteSpan file);

// Whether playing a track delivers the tag.
bool IsDelivered(const FlvTag& tag, bool isAudio);

// What of a tag is a sample: bytes behind the codec's header, presentation time, sync flag. Nothing when the
// tag ends with its header.
struct FlvSample {
    ByteSpan payload;
    int64_t timeUs;
    bool isSync;
};
std::optional<FlvSample> SampleOf(const FlvTag& tag, bool isAudio);

}  // namespace orvel
