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
    bool hasChapters = true;
    bool isForSound = false;  // by its extension: pictures are left out

    bool takes(Codec codec) const;
    bool isTransportStream() const { return !hasChapters; }
};

// Every kind, the one that standard output gets first.
const std::vector<Container>& Containers();

// The kind that a file's name asks for, or its extension alone, with or without the dot; null when it is none
// of theirs.
const Container* FindContainer(const std::string& fileName);

// ".mkv, .mp4, ...".
std::string AllExtensions();

// The tracks that a container of this kind gets. Throws Failure (kUsage) when there are none.
std::vector<size_t> TracksFor(const Container& container, const std::vector<TrackFormat>& tracks,
                              const std::string& inputName);

// Throws Failure (kUsage), naming the codec and a container that takes it, unless the container takes the
// track.
void RequireTaken(const Container& container, const TrackFormat& track, const std::string& inputName);

}  // namespace orvel
