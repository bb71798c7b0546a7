// SPDX-License-Identifier: Apache-2.0
#include "command/Completeness.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>

#include "support/CountText.h"
#include "support/Terminal.h"

namespace orvel {
namespace {

bool IsDoubtOfTime(Kind kind) {
    return kind == Kind::kTimeImplausible || kind == Kind::kReconnect || kind == Kind::kTimeWrap ||
           kind == Kind::kTimeOffset;
}

bool IsDamage(Kind kind) {
    return kind == Kind::kEmptyTag || IsDoubtOfTime(kind) || TraitsOf(kind).severity == Severity::kError;
}

ExitCode TellDamage(const Input& input) {
    const Findings& findings = input.inspection().findings;
    bool isDamaged = false;
    for (const Finding& finding : findings.shown()) {
        if (!IsDamage(finding.kind)) continue;
        isDamaged = isDamaged || finding.kind != Kind::kEmptyTag;
        Complain(fmt::format("{}: {}: byte offset {}: {}", input.name(),
                             IsDoubtOfTime(finding.kind) ? "timestamps" : "damaged", finding.offset,
                             finding.text));
    }
    for (const auto& [kind, count] : findings.counts()) {
        uint64_t shown = findings.shownOf(kind);
        if (!IsDamage(kind) || count == shown) continue;
        Complain(fmt::format("{}: {}: {} more like these", input.name(), TraitsOf(kind).code, count - shown));
    }
    return isDamaged && !input.recovers() ? ExitCode::kDamaged : ExitCode::kDone;
}

// The plug-in begins a video track with its first key frame, for which nothing is needed that came before.
ExitCode TellFewer(const Input& input, const char* kind, const StreamSeen& stream, uint64_t missing) {
    if (missing == stream.leadingFrames) {
        Complain(fmt::format("{}: left out: {} before the first key frame, which no decoder can use{}",
                             input.name(), CountText(missing, "picture"),
                             input.recovers() ? "" : "; --recover keeps them"));
        return ExitCode::kIncomplete;
    }
    Complain(fmt::format("{}: the {} track: {} of {} are left out{}", input.name(), kind, missing,
                         CountText(stream.samples, "sample"),
                         input.recovers() ? "" : "; --recover gets what can be had"));
    return ExitCode::kDamaged;
}

ExitCode TellCounts(const Input& input, const Taken& taken) {
    ExitCode result = ExitCode::kDone;
    for (const Taken::Track& track : taken.tracks) {
        const StreamSeen* stream = input.streamOf(track.track);
        if (stream == nullptr) continue;
        const Codec codec = input.tracks()[track.track].codec;
        const char* kind = input.tracks()[track.track].kindName();
        if ((codec == Codec::kAvc || codec == Codec::kHevc) && stream->configurationSlots.empty()) {
            result = ExitCode::kDamaged;
            Complain(fmt::format("{}: the {} track: no configuration was found, which decoders need",
                                 input.name(), kind));
        }
        if (taken.isPart) continue;
        if (track.samples < stream->samples)
            result = Worse(result, TellFewer(input, kind, *stream, stream->samples - track.samples));
        if (track.samples <= stream->samples) continue;
        result = ExitCode::kDamaged;
        Complain(fmt::format("{}: the {} track: {} are of another codec than the track's{}", input.name(),
                             kind, CountText(track.samples - stream->samples, "sample"),
                             input.recovers() ? "" : "; --recover takes only its own"));
    }
    return result;
}

// onMetaData itself describes the tracks, and is in their formats or in the container's own header.
ExitCode TellScripts(const Input& input, const Taken& taken) {
    const Scripts& scripts = input.inspection().scripts;
    if (taken.hasScripts) return ExitCode::kDone;
    for (const auto& [name, count] : scripts.counts) {
        Complain(fmt::format("{}: left out: script data {}, {}, {}: the output has no place for it",
                             input.name(), name.empty() ? "of other names" : name,
                             CountText(count.tags, "tag"), CountText(count.bytes, "byte")));
    }
    return scripts.counts.empty() ? ExitCode::kDone : ExitCode::kIncomplete;
}

}  // namespace

bool TellLeftOut(const Input& input, const std::vector<TrackKind>& mixedIn) {
    bool isAny = false;
    for (const StreamSeen& stream : input.inspection().streams) {
        bool isMixedIn = std::find(mixedIn.begin(), mixedIn.end(), stream.header.kind) != mixedIn.end();
        if (isMixedIn || input.hasTrackOf(stream)) continue;
        isAny = true;
        Complain(fmt::format(
                "{}: left out: {} {}, {}, {}: {}", input.name(), stream.kindName(), CodecName(stream.header),
                CountText(stream.tags, "tag"), CountText(stream.bytes, "byte"),
                stream.whyNoTrack.empty() ? "the track is of another codec" : stream.whyNoTrack));
    }
    return isAny;
}

void AddMissingOption(CLI::App* app, bool* allowsMissing) {
    app->add_flag("--allow-missing", *allowsMissing,
                  "Exit code 0 also when streams or script data that give no track are left out");
}

ExitCode TellMissing(const Input& input, const Taken& taken, bool allowsMissing) {
    if (!input.remark().empty()) Complain(fmt::format("{}: {}", input.name(), input.remark()));
    std::vector<TrackKind> mixedIn;
    for (const Taken::Track& track : taken.tracks) {
        const StreamSeen* stream = input.streamOf(track.track);
        if (stream != nullptr && track.samples > stream->samples) mixedIn.push_back(stream->header.kind);
    }
    ExitCode result = TellLeftOut(input, mixedIn) ? ExitCode::kIncomplete : ExitCode::kDone;
    result = Worse(result, TellScripts(input, taken));
    result = Worse(Worse(result, TellCounts(input, taken)), TellDamage(input));
    return result == ExitCode::kIncomplete && allowsMissing ? ExitCode::kDone : result;
}

}  // namespace orvel
