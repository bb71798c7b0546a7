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
    static const std::vector<Codec> mp4 = {Codec::kAvc, Codec::kHevc, Codec::kAac, Codec::kMp3};
    static const std::vector<Codec> mov = {Codec::kAvc, Codec::kHevc, Codec::kAac, Codec::kMp3, Codec::kPcm};
    static const std::vector<Codec> matroska = {Codec::kAvc, Codec::kHevc,     Codec::kSorensonH263,
                                                Codec::kVp6, Codec::kVp6Alpha, Codec::kAac,
                                                Codec::kMp3, Codec::kPcm,      Codec::kAdpcm};
    static const std::vector<Container> containers = {
            {".mkv", "Matroska", "matroska", matroska},
            {".mp4", "MP4", "mp4", mp4},
            {".mov", "QuickTime", "mov", mov},
            {".ts", "MPEG transport stream", "mpegts", mp4, false},
            {".m4v", "MP4", "mp4", mp4},
            {".m2ts", "Blu-ray transport stream", "m2ts", mp4, false},
            {".mka", "Matroska", "matroska", matroska, true, true},
            {".m4a", "MP4", "mp4", mp4, true, true},
    };
    return containers;
}

const Container* FindContainer(const std::string& fileName) {
    for (const Container& container : Containers()) {
        if (HasExtension("." + fileName, container.extension)) return &container;
    }
    return nullptr;
}

std::string AllExtensions() {
    std::string all;
    for (const Container& container : Containers())
        all += (all.empty() ? "" : ", ") + std::string(container.extension);
    return all;
}

std::vector<size_t> TracksFor(const Container& container, const std::vector<TrackFormat>& tracks,
                              const std::string& inputName) {
    std::vector<size_t> chosen;
    for (size_t i = 0; i < tracks.size(); ++i) {
        if (container.isForSound && tracks[i].kind == TrackKind::kVideo) continue;
        RequireTaken(container, tracks[i], inputName);
        chosen.push_back(i);
    }
    if (!chosen.empty()) return chosen;
    throw Failure(ExitCode::kUsage,
                  fmt::format("{}: has no audio track for {}", inputName, container.extension));
}

void RequireTaken(const Container& container, const TrackFormat& track, const std::string& inputName) {
    if (container.takes(track.codec)) return;
    throw Failure(ExitCode::kUsage, fmt::format("{}: {} cannot hold {}, the {} track's codec ({} can)",
                                                inputName, container.title, TraitsOf(track.codec).title,
                                                track.kindName(), Containers()[0].title));
}

}  // namespace orvel
