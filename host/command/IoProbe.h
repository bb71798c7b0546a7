// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <vector>

#include "command/Input.h"
#include "loader/PluginLoader.h"

namespace orvel {

// What one phase of a session reads of its source: what a flash card or a network pays.
struct IoPhase {
    const char* name;
    int64_t reads = 0;
    int64_t below4096 = 0;  // reads that ask for less than the plug-in's cache holds
    int64_t of4096 = 0;
    int64_t above4096 = 0;
    int64_t bytes = 0;       // delivered
    int64_t bytesAgain = 0;  // of them brought by an earlier read of the phase
    int64_t sampleBytes = 0;
};

// The phases of a session: "sniff", "open" (the extractor is made), "play" (all tracks, by time) and "seek"
// (ten seeks of every track over the duration, back and forth).
std::vector<IoPhase> ProbeIo(const Plugin& plugin, const Input& input);

}  // namespace orvel
