// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "support/ByteSpan.h"

namespace orvel {

// What a raw video stream needs of a decoder configuration record: the parameter sets in the order in which
// a decoder wants them, each a whole NAL unit, and the size of the length field in front of a sample's NAL
// units.
struct ParameterSets {
    std::vector<std::vector<uint8_t>> units;
    size_t nalLengthSize = 4;
    std::string profile;  // "High", "Main 10"; empty when it has no name
    std::string level;    // "3.1"
    int levelIdc = 0;
};

// AVCDecoderConfigurationRecord (ISO/IEC 14496-15, 5.3.3.1). A record that ends early gives the sets that lie
// whole in it; one without its six fixed bytes gives nothing.
std::optional<ParameterSets> ParseAvcConfiguration(ByteSpan record);

// HEVCDecoderConfigurationRecord (ISO/IEC 14496-15, 8.3.3.1), likewise, with 23 fixed bytes. The sequence
// parameter set of the plug-in's record lacks its emulation prevention bytes; they are put back.
std::optional<ParameterSets> ParseHevcConfiguration(ByteSpan record);

// Puts back the emulation prevention bytes (H.265, 7.4.2) of a unit that lost them in place: the unit kept
// its length, so it ends in as many stale bytes as it lost, and the restored unit has exactly the same
// length. A unit that lost none comes back as it was.
std::vector<uint8_t> RestoreEmulationPrevention(ByteSpan unit);

}  // namespace orvel
