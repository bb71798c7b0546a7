// SPDX-License-Identifier: Apache-2.0
#include "command/Input.h"

#include <fmt/format.h>
#include <stdio.h>

#include <algorithm>

#include "command/PlatformLog.h"
#include "command/StreamFormat.h"
#include "flv/FileHeader.h"
#include "flv/TagWalk.h"
#include "source/OpenSource.h"
#include "support/CountText.h"
#include "support/Failure.h"

namespace orvel {
namespace {

android::sp<android::DataSource> Open(const std::string& location) {
    std::string error;
    android::sp<android::DataSource> source = OpenSource(location, &error);
    if (source == nullptr) throw Failure(ExitCode::kInputOutput, error);
    return source;
}

}  // namespace

Input::Input(const Plugin& plugin, const std::string& location, std::optional<Recovery> recovery)
    : mLocation(location),
      mName(ShownLocation(location)),
      mRecovery(recovery),
      mSource(new CountingSource(Open(location))) {
    off64_t size = 0;
    if (mSource->getSize(&size) == android::OK) mSize = size;
    openAsDevice(plugin);
    if (mRecovery) openStreams(plugin);
    throwIfReadsFailed();
    if (mTracks.empty()) refuse();
    mendAudioConfiguration();
    trimVp6();
    readIndex();
}

void Input::openAsDevice(const Plugin& plugin) {
    if (!plugin.sniff(mSource)) return;
    mExtractor = plugin.createExtractor(mSource);
    uint32_t flags = android::IMediaExtractor::kIncludeExtensiveMetaData;
    for (size_t i = 0; i < mExtractor->countTracks(); ++i)
        mTracks.push_back(ReadTrackFormat(*mExtractor->getTrackMetaData(i, flags)));
}

// The plug-in knows a duration only of files that it opens; the walk knows one of every file.
void Input::openStreams(const Plugin& plugin) {
    int64_t durationUs = mTracks.empty() ? 0 : mTracks[0].durationUs;
    if (!inspection().clockIsSound || durationUs == 0) durationUs = inspection().spanMs() * 1000;
    TagChain chain(*mSource, mSize);
    mTracks.clear();
    for (TrackKind kind : {TrackKind::kVideo, TrackKind::kAudio}) {
        const StreamSeen* stream = mainStream(kind);
        if (stream == nullptr || stream->samples == 0) continue;
        std::optional<TrackFormat> format = FormatOfStream(plugin, chain, *stream);
        if (!format) continue;
        format->durationUs = durationUs;
        mTracks.push_back(*format);
    }
}

const StreamSeen* Input::mainStream(TrackKind kind) const {
    const StreamSeen* main = nullptr;
    for (const StreamSeen& stream : inspection().streams) {
        if (stream.header.kind != kind || !WhyNoTrack(stream.header).empty()) continue;
        if (main == nullptr || stream.samples > main->samples) main = &stream;
    }
    return main;
}

const StreamSeen* Input::streamOf(size_t track) const {
    return mainStream(mTracks[track].kind);
}

bool Input::hasTrackOf(const StreamSeen& stream) const {
    for (size_t i = 0; i < mTracks.size(); ++i) {
        if (streamOf(i) == &stream) return true;
    }
    return false;
}

// AAC whose first tag is no configuration: the plug-in takes that tag for one, and a decoder could make
// nothing of it.
void Input::mendAudioConfiguration() {
    for (TrackFormat& track : mTracks) {
        if (track.codec != Codec::kAac) continue;
        TagChain chain(*mSource, mSize);
        TagWalk walk(chain, ReadFileHeader(*mSource).firstSlot());
        std::optional<TagUnit> sample;
        while (std::optional<WalkStep> step = walk.next()) {
            if (!step->isTag() || !step->unit.is(TagType::kAudio) || step->unit.dataSize == 0) continue;
            if (ReadStreamHeader(step->unit).isSample() && !sample) sample = step->unit;
            if (!HoldsAudioConfiguration(chain, step->unit)) continue;
            if (!sample) return;
            StreamHeader header = ReadStreamHeader(step->unit);
            track.configuration =
                    chain.bytes(step->unit.dataOffset() + header.size, step->unit.dataSize - header.size);
            track.configurationName = "AudioSpecificConfig";
            mHasAudioMended = true;
            return;
        }
        if (!sample) return;
        std::string from;
        track.configuration = MakeAudioConfiguration(chain, *sample, &from);
        track.configurationName = "AudioSpecificConfig";
        mHasAudioMended = true;
        mRemark = fmt::format("the audio track has no AudioSpecificConfig; one is made from {}", from);
    }
}

// VP6 codes whole blocks; the byte before each key frame's data says how much of the last ones is shown, and
// the plug-in passes over it.
void Input::trimVp6() {
    for (TrackFormat& track : mTracks) {
        if (track.codec != Codec::kVp6 && track.codec != Codec::kVp6Alpha) continue;
        TagChain chain(*mSource, mSize);
        TagWalk walk(chain, ReadFileHeader(*mSource).firstSlot());
        while (std::optional<WalkStep> step = walk.next()) {
            if (!step->isTag() || !step->unit.is(TagType::kVideo) ||
                !ReadStreamHeader(step->unit).isKeyFrame())
                continue;
            track.vp6Adjustment = step->unit.data[1];
            track.width = std::max(track.width - (track.vp6Adjustment >> 4), 0);
            track.height = std::max(track.height - (track.vp6Adjustment & 15), 0);
            break;
        }
    }
}

// Names what there is instead of a track.
void Input::refuse() const {
    const Inspection& found = inspection();
    std::string what;
    for (const StreamSeen& stream : found.streams) {
        if (stream.whyNoTrack.empty()) continue;
        what += fmt::format("{}{} {}, {}, {}: {}", what.empty() ? "" : "; ", stream.kindName(),
                            CodecName(stream.header), CountText(stream.tags, "tag"),
                            CountText(stream.bytes, "byte"), stream.whyNoTrack);
    }
    if (!what.empty()) throw Failure(ExitCode::kDamaged, fmt::format("{}: no track: {}", mName, what));
    for (const Finding& finding : found.findings.shown()) {
        if (TraitsOf(finding.kind).severity != Severity::kError) continue;
        throw Failure(ExitCode::kDamaged,
                      fmt::format("{}: byte offset {}: {}", mName, finding.offset, finding.text));
    }
    throw Failure(ExitCode::kDamaged, fmt::format("{}: the plug-in makes no track of it", mName));
}

const Inspection& Input::inspection() const {
    if (!mInspection) mInspection = InspectSource(*mSource, mSize, mName);
    return *mInspection;
}

void Input::readIndex() {
    if (mExtractor == nullptr || mExtractor->countTracks() == 0) return;
    LogCatcher catcher;
    mExtractor->getTrack(0);
    const std::string* line = catcher.find("mKeyFramePositions=");
    Index index;
    if (line == nullptr) return;
    const char* format = "mKeyFramePositions=%zu, mKeyFrameTimes=%zu";
    if (sscanf(line->c_str(), format, &index.positions, &index.times) == 2) mIndex = index;
}

TrackReader Input::openTrack(size_t index, LossReport report) const {
    bool isMended = mHasAudioMended && mTracks[index].kind == TrackKind::kAudio;
    if (!mRecovery && !isMended) return TrackReader(mExtractor->getTrack(index));
    const StreamSeen* stream = streamOf(index);
    return TrackReader(new RecoveringReader(mSource, mSize, stream->header,
                                            mRecovery.value_or(Recovery::kAll), std::move(report)));
}

void Input::throwIfReadsFailed() const {
    if (!mSource->hasFailed()) return;
    throw Failure(ExitCode::kInputOutput, LastReadError(mSource->inner(), mName));
}

}  // namespace orvel
