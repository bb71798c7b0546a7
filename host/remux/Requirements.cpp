// SPDX-License-Identifier: Apache-2.0
#include "remux/Requirements.h"

#include <fmt/format.h>

#include <algorithm>

#include "format/AudioConfiguration.h"
#include "format/ParameterSets.h"
#include "support/Failure.h"
#include "writer/AdtsWriter.h"

namespace orvel {
namespace {

constexpr int64_t kPreviousTagSizeSize = 4;
constexpr uint8_t kAvcSps = 7, kHevcSps = 33;

const char* WhatDescribes(Codec codec) {
    if (codec == Codec::kAvc) return "an AVC configuration with a sequence parameter set";
    if (codec == Codec::kHevc) return "an HEVC configuration with a sequence parameter set";
    return "a key frame with a size above 0";
}

bool HasSequenceParameterSet(const TrackFormat& format) {
    bool isAvc = format.codec == Codec::kAvc;
    auto sets = isAvc ? ParseAvcConfiguration(format.configuration)
                      : ParseHevcConfiguration(format.configuration);
    return sets && std::any_of(sets->units.begin(), sets->units.end(), [isAvc](const auto& unit) {
               return !unit.empty() && (isAvc ? (unit[0] & 31) == kAvcSps : (unit[0] >> 1 & 63) == kHevcSps);
           });
}

// A transport stream's pictures may bring their parameter sets along; other containers want them in front.
bool IsDescribed(const TrackFormat& format, const Container& container) {
    bool hasSize = format.width > 0 && format.height > 0;
    bool hasSets = format.codec == Codec::kAvc || format.codec == Codec::kHevc;
    return hasSize && (!hasSets || container.isTransportStream() || HasSequenceParameterSet(format));
}

void RequirePictures(const Input& input, size_t track, const Container& container) {
    const TrackFormat& format = input.tracks()[track];
    if (IsDescribed(format, container)) return;
    const StreamSeen* stream = input.streamOf(track);
    std::string place;
    if (stream != nullptr) {
        bool isConfigured = !stream->configurationSlots.empty();
        int64_t offset =
                isConfigured ? stream->configurationSlots[0] + kPreviousTagSizeSize : stream->firstOffset;
        place = fmt::format("byte offset {}: ", offset);
    }
    const char* instead = input.tracks().size() > 1 ? "; the sound alone goes into .mka" : "";
    throw Failure(ExitCode::kDamaged,
                  fmt::format("{}: {}nothing of the video track can be shown: expected {}{}", input.name(),
                              place, WhatDescribes(format.codec), instead));
}

// A layout of its own can stand in the frames.
void RequireAdts(const Input& input, const TrackFormat& format, const Container& container) {
    auto config = ParseAudioSpecificConfig(format.configuration);
    if (!config || !container.isTransportStream()) return;
    std::string why = WhyNotAdts(*config);
    bool isOwnLayout = config->channelConfiguration == 0 && format.configuration.size() > 2;
    if (why.empty() || isOwnLayout) return;
    throw Failure(ExitCode::kUsage, fmt::format("{}: {} cannot hold AAC of {} ({} can)", input.name(),
                                                container.title, why, Containers()[0].title));
}

}  // namespace

void RequireDescribed(const Input& input, const std::vector<size_t>& tracks, const Container& container) {
    for (size_t track : tracks) {
        const TrackFormat& format = input.tracks()[track];
        if (format.kind == TrackKind::kVideo) RequirePictures(input, track, container);
        if (format.codec == Codec::kAac) RequireAdts(input, format, container);
    }
}

}  // namespace orvel
