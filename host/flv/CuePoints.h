// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "flv/Metadata.h"

namespace orvel {

constexpr char kCuePointName[] = "onCuePoint";

// A place in a file that its author has marked.
struct CuePoint {
    int64_t timeUs = 0;
    std::string name;
    std::string type;  // "navigation": one that viewers may go to; "event": for the player's program

    bool isForViewers() const { return type == "navigation"; }
};

// Those in onMetaData and in events of their own, which tell them again where the time comes; each once, by
// time. What has no time that can be one is passed over.
std::vector<CuePoint> ReadCuePoints(const std::optional<Metadata>& metadata,
                                    const std::vector<ScriptEvent>& events);

}  // namespace orvel
