// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "command/Input.h"
#include "support/Failure.h"

namespace CLI {
class App;
}

namespace orvel {

// What a command took of an input.
struct Taken {
    struct Track {
        size_t track;      // the input's
        uint64_t samples;  // that stand in the output, or of which it has been said that they do not
    };
    std::vector<Track> tracks;
    bool isPart = false;      // the user wanted a span of time
    bool hasScripts = false;  // the output has what script tags say, or the command has said what is missing
};

// --allow-missing.
void AddMissingOption(CLI::App* app, bool* allowsMissing);

// Says on standard error, a line each, which streams of an input give no track. Result: whether there are
// any. mixedIn: the kinds whose track the plug-in has put such samples into, so that they are not left out.
bool TellLeftOut(const Input& input, const std::vector<TrackKind>& mixedIn = {});

// Says on standard error, a line each, what an input holds and the output does not: streams and script data
// that give no track, what damage has cost and where, timestamps that cannot be believed. Result: kDamaged
// when samples are missing or times are wrong because of damage that was not recovered from; kIncomplete when
// something whole is left out and that is not meant; else kDone.
ExitCode TellMissing(const Input& input, const Taken& taken, bool allowsMissing);

}  // namespace orvel
