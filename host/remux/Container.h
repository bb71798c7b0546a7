// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "format/TrackFormat.h"

namespace orvel {

// A kind of file that remux writes.
struct Container {
    const char* extension;  // with its dot
    const char* title;      // for people
    const char* format;     // as the libraries name it
    std::vector<Codec> codecs;

    bool takes(Codec codec) const;
};

// Every kind, the one that standard output gets first.
const std::vector<Container>& Containers();

// The kind that a file's name asks for; null when its extension is none of theirs.
const Container* FindContainer(const std::string& fileName);

// Throws Failure (kUsage), naming the codec and a container that takes it, unless the container takes every
// track.
void RequireTaken(const Container& container, const std::vector<TrackFormat>& tracks,
                  const std::string& inputName);

}  // namespace orvel
