// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "flv/Amf0.h"
#include "flv/TagChain.h"

namespace orvel {

// The data of a script tag: a name, such as onMetaData or onCuePoint, and what comes after it.
struct ScriptEvent {
    std::string name;  // empty when the tag does not begin with one
    std::vector<AmfValue> values;
    AmfError error;
    int64_t offset = 0;  // of the tag
    uint32_t timeMs = 0;
    uint32_t bytes = 0;  // of the tag's data

    // Also as "@setDataFrame", "onMetaData", which streaming encoders send and some recorders keep.
    bool isMetadata() const;
};
ScriptEvent ReadScript(TagChain& chain, const TagUnit& unit);

// What a script tag's onMetaData says of the file.
struct Metadata {
    AmfValue properties;  // all of it: an object
    std::optional<double> durationSeconds;
    std::vector<double> positions;  // of the key-frame index: offsets of tags
    std::vector<double> times;      // in seconds
    AmfError error;

    std::optional<double> findNumber(const std::string& name) const;
    std::string findText(const std::string& name) const;  // empty when there is none
};

// Nothing when the event is no onMetaData that the plug-in would read.
std::optional<Metadata> ReadMetadata(const ScriptEvent& event);

}  // namespace orvel
