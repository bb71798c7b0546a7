// SPDX-License-Identifier: Apache-2.0
#include "remux/Container.h"

#include <fmt/format.h>

#include <algorithm>

#include "command/Options.h"
#include "support/Failure.h"

namespace orvel {

bool Container::takes(Codec codec) const {
    return std::find(codecs.begin(), codecs.end(), codec) != codecs.end();
}

// Only codecs that the container has an established name for: the libraries' muxers accept more, and put it
// under names that few readers know.
const std::vector<Container>& Containers() {
    static const std::vector<Container> containers = {
            {".mkv",
             "Matroska",
             "matroska",
             {Codec::kAvc, Codec::kHevc, Codec::kSorensonH263, Codec::kVp6, Codec::kVp6Alpha, Codec::kAac,
              Codec::kMp3, Codec::kPcm, Codec::kAdpcm}},
            {".mp4", "MP4", "mp4", {Codec::kAvc, Codec::kHevc, Codec::kAac, Codec::kMp3}},
            {".mov", "QuickTime", "mov", {Codec::kAvc, Codec::kHevc, Codec::kAac, Codec::kMp3, Codec::kPcm}},
            {".ts", "MPEG transport stream", "mpegts", {Codec::kAvc, Codec::kHevc, Codec::kAac, Codec::kMp3}},
    };
    return containers;
}

const Container* FindContainer(const std::string& fileName) {
    for (const Container& container : Containers()) {
        if (HasExtension(fileName, container.extension)) return &container;
    }
    return nullptr;
}

void RequireTaken(const Container& container, const std::vector<TrackFormat>& tracks,
                  const std::string& inputName) {
    for (const TrackFormat& track : tracks) {
        if (container.takes(track.codec)) continue;
        throw Failure(ExitCode::kUsage, fmt::format("{}: {} cannot hold {}, the {} track's codec ({} can)",
                                                    inputName, container.title, TraitsOf(track.codec).title,
                                                    track.kindName(), Containers()[0].title));
    }
}

}  // namespace orvel
