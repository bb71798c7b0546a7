// SPDX-License-Identifier: Apache-2.0
#include "remux/Remuxer.h"

#include <fmt/format.h>

#include <algorithm>
#include <limits>
#include <utility>

#include "command/Options.h"
#include "support/CountText.h"
#include "support/Failure.h"

namespace orvel {
namespace {

// H.264 and H.265 let no picture wait for more than 16; four times as many show whether any does.
constexpr size_t kSamplesToLearnFrom = 64;

// A jump in a file's times is not the length of a sample.
constexpr int64_t kLongestDurationUs = 10000000;

}  // namespace

Remuxer::Remuxer(const Input& input, const std::vector<size_t>& tracks, const AvModule& module)
    : mModule(module) {
    for (size_t i : tracks) {
        const TrackFormat& format = input.tracks()[i];
        bool reorders = format.codec == Codec::kAvc || format.codec == Codec::kHevc;
        mTracks.push_back(
                {StreamForm(format, GuessPcmBits(input, i)), reorders, {}, {}, {0, {}}, {}, {}, {}});
    }
}

void Remuxer::run(const SampleFeed& feed, const std::string& format, MuxDetails details, bool fromZero,
                  ByteSink& sink) {
    bool hasEnded = hold(feed);
    if (mHeld.empty()) throw Failure(ExitCode::kDamaged, "no samples");
    auto isEarlier = [](const HeldSample& a, const HeldSample& b) { return a.timeUs < b.timeUs; };
    mFirstUs = std::min_element(mHeld.begin(), mHeld.end(), isEarlier)->timeUs;
    if (fromZero) mShiftUs = mFirstUs;
    mRepeatsParameterSets = format == "mpegts" || format == "m2ts";
    std::unique_ptr<Muxer> muxer = openMuxer(format, std::move(details), sink);
    for (const HeldSample& held : mHeld)
        write(*muxer, held.track, {held.timeUs, held.isSync, held.bytes});
    mHeld = {};
    while (!hasEnded) {
        auto turn = feed();
        if (turn) write(*muxer, turn->track, *turn->sample);
        hasEnded = !turn;
    }
    muxer->finish();
    for (size_t i = 0; i < mTracks.size(); ++i)
        mTracks[i].losses = muxer->losses(i);
}

bool Remuxer::hold(const SampleFeed& feed) {
    while (!knowsEnough()) {
        auto turn = feed();
        if (!turn) return true;
        keep(*turn);
    }
    return false;
}

void Remuxer::keep(const Interleaver::Turn& turn) {
    Track& track = mTracks[turn.track];
    const AccessUnit& sample = *turn.sample;
    if (track.firstTimesUs.empty()) {
        track.facts = mModule.examine(track.form.setup(), track.form.convert(sample.bytes));
    }
    track.firstTimesUs.push_back(sample.timeUs);
    mHeld.push_back({turn.track, sample.timeUs, sample.isSync,
                     std::vector<uint8_t>(sample.bytes.data, sample.bytes.data + sample.bytes.size)});
    mHeldBytes += sample.bytes.size;
}

bool Remuxer::knowsEnough() const {
    if (mHeldBytes > kMostHeld) return true;
    return std::all_of(mTracks.begin(), mTracks.end(), [](const Track& track) {
        return track.firstTimesUs.size() >= (track.reorders ? kSamplesToLearnFrom : 1);
    });
}

std::unique_ptr<Muxer> Remuxer::openMuxer(const std::string& format, MuxDetails details, ByteSink& sink) {
    std::vector<MuxTrack> muxTracks;
    for (Track& track : mTracks) {
        StreamSetup setup = track.form.setup();
        // An MP3 stream's own header knows rates that a container's two bits do not.
        if (setup.codec == Codec::kMp3 && track.facts.sampleRate > 0)
            setup.sampleRate = track.facts.sampleRate;
        for (int64_t& timeUs : track.firstTimesUs)
            timeUs -= mShiftUs;
        if (track.reorders) track.decodingTimes = DecodingTimes(track.facts.reorderDepth, track.firstTimesUs);
        muxTracks.push_back({setup, track.facts});
    }
    shiftChapters(&details.chapters);
    return mModule.openMuxer(format, muxTracks, details, sink);
}

void Remuxer::shiftChapters(std::vector<MuxDetails::Chapter>* chapters) const {
    std::vector<MuxDetails::Chapter> shifted;
    for (const MuxDetails::Chapter& chapter : *chapters) {
        bool isBefore = chapter.endUs <= mFirstUs && chapter.startUs < mFirstUs;
        if (!isBefore)
            shifted.push_back({std::max(chapter.startUs, mFirstUs) - mShiftUs,
                               std::max(chapter.endUs, mFirstUs) - mShiftUs, chapter.title});
    }
    *chapters = std::move(shifted);
}

void Remuxer::write(Muxer& muxer, size_t index, const AccessUnit& sample) {
    Track& track = mTracks[index];
    track.span.add(sample.timeUs);
    MuxSample out;
    out.track = index;
    out.timeUs = sample.timeUs - mShiftUs;
    out.decodingTimeUs = track.decodingTimes.next(out.timeUs);
    // What follows is not known yet; the distance before it is the best guess, and only the last one counts.
    if (track.lastDecodingTimeUs)
        out.durationUs =
                std::clamp<int64_t>(out.decodingTimeUs - *track.lastDecodingTimeUs, 0, kLongestDurationUs);
    track.lastDecodingTimeUs = out.decodingTimeUs;
    out.isSync = sample.isSync;
    out.bytes = track.form.convert(sample.bytes);
    if (mRepeatsParameterSets && sample.isSync) out.bytes = track.form.withParameterSets(out.bytes);
    muxer.write(out);
}

std::string Remuxer::remark(size_t track) const {
    const Muxer::Losses& losses = mTracks[track].losses;
    std::string remark;
    if (losses.moved > 0) {
        remark = fmt::format("the times of {} go back and were moved to where the ones before them end",
                             CountText(losses.moved, "sample"));
    }
    if (losses.leftOut > 0) {
        remark += fmt::format("{}{}, which the container cannot hold, left out", remark.empty() ? "" : "; ",
                              CountText(losses.leftOut, "damaged sample"));
    }
    return remark;
}

}  // namespace orvel
