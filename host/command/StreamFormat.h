// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>

#include "format/TrackFormat.h"
#include "inspect/Inspection.h"
#include "loader/PluginLoader.h"

namespace orvel {

// What the plug-in makes of a stream when it finds its configuration and its first sample that can be decoded
// at once: a small file of only these is handed to it. So a stream has the same format wherever the damage
// is. Nothing when it makes no track of it.
std::optional<TrackFormat> FormatOfStream(const Plugin& plugin, TagChain& chain, const StreamSeen& stream);

// An AudioSpecificConfig for AAC that has come without one (ISO/IEC 14496-3, 1.6.2.1): AAC-LC, with the
// channels that the first raw_data_block begins with, and the sample rate of the tag's header; or, of samples
// that bear an ADTS header, what that says. source says which of these it was, as a clause.
std::vector<uint8_t> MakeAudioConfiguration(TagChain& chain, const TagUnit& firstSample, std::string* source);

// Whether a tag holds an AudioSpecificConfig that can be read.
bool HoldsAudioConfiguration(TagChain& chain, const TagUnit& unit);

}  // namespace orvel
