// SPDX-License-Identifier: Apache-2.0
#include "command/SpanReader.h"

#include <ctype.h>
#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>

#include "command/Options.h"
#include "support/CountText.h"
#include "support/Failure.h"
#include "support/Terminal.h"
#include "support/TimeText.h"

namespace orvel {
namespace {

// H.264 (max_num_reorder_frames) and H.265 (sps_max_num_reorder_pics) let no more pictures come before one
// that is shown before them.
constexpr size_t kDeepestReordering = 16;
constexpr size_t kMostHeldBytes = 16 << 20;

// What the option library gives for the flag alone, and what may be said.
constexpr char kRecoverDecodable[] = "true", kRecoverAll[] = "all";

// Pictures can begin only at a key frame, sound anywhere.
size_t LeadingTrack(const Input& input, const std::vector<size_t>& tracks) {
    for (size_t i = 0; i < tracks.size(); ++i) {
        if (input.tracks()[tracks[i]].kind == TrackKind::kVideo) return i;
    }
    return 0;
}

}  // namespace

void AddSpanOptions(CLI::App* app, Span* span, std::string* target) {
    AddTimeOption(app, "--from", &span->fromUs,
                  "Begin at the picture that a seek lands on, and sound with it; seconds or [h:]mm:ss.mmm");
    auto parseTo = [span, target](const std::vector<std::string>& texts) {
        for (const std::string& text : texts) {
            if (target != nullptr && isalpha(static_cast<unsigned char>(text[0])) != 0) {
                *target = text;
                continue;
            }
            span->toUs = ParseTime(text);
            if (!span->toUs || *span->toUs < 0) throw CLI::ValidationError("--to", "not a time: " + text);
        }
    };
    const char* time = "End each track with its last sample before this time";
    const char* either =
            "End each track with its last sample before this time; or, with -o, the container to write, "
            "such as mkv. May be given for both";
    app->add_option_function<std::vector<std::string>>("--to", parseTo, target == nullptr ? time : either)
            ->allow_extra_args(false)
            ->type_name("T");
    app->add_flag("--recover", span->recover,
                  "Go on after damage that ends a track early, and say what is lost; --recover=all also with "
                  "pictures that are predicted from lost ones");
}

std::optional<Recovery> Span::recovery() const {
    if (recover.empty()) return std::nullopt;
    return recover == kRecoverAll ? Recovery::kAll : Recovery::kDecodable;
}

void CheckSpan(const Span& span) {
    if (!span.recover.empty() && span.recover != kRecoverDecodable && span.recover != kRecoverAll) {
        throw Failure(ExitCode::kUsage, "--recover: takes =all or nothing, not =" + span.recover);
    }
    if (span.fromUs && span.toUs && *span.toUs <= *span.fromUs) {
        throw Failure(ExitCode::kUsage, "--to: not after --from");
    }
}

SpanReader::SpanReader(const Input& input, const std::vector<size_t>& tracks, const Span& span)
    : mInput(input),
      mSpan(span),
      mLeftOut(tracks.size()),
      mSamples(openReaders(tracks), span.fromUs, LeadingTrack(input, tracks)),
      mProgress(input.name(), total()) {
    for (size_t track : tracks) {
        Codec codec = input.tracks()[track].codec;
        mOverhangs.push_back({codec == Codec::kAvc || codec == Codec::kHevc, 0, 0, {}});
    }
}

std::vector<TrackReader> SpanReader::openReaders(const std::vector<size_t>& tracks) {
    std::vector<TrackReader> readers;
    for (size_t i = 0; i < tracks.size(); ++i) {
        readers.push_back(mInput.openTrack(tracks[i], [this, i](const LeftOutPictures& pictures) {
            mLeftOut[i] += pictures.count;
            Complain(fmt::format(
                    "{}: {} from {} s to {} s are left out after damage, since a decoder could not show "
                    "them; --recover=all keeps them",
                    mInput.name(), CountText(pictures.count, "picture"), FormatSeconds(pictures.firstUs),
                    FormatSeconds(pictures.lastUs)));
        }));
    }
    return readers;
}

std::optional<Interleaver::Turn> SpanReader::next() {
    if (mDeliversReady) mReady.pop_front();
    mDeliversReady = false;
    while (mReady.empty()) {
        auto turn = mSamples.next();
        if (!turn) {
            if (!mInput.source().hasFailed()) mProgress.finish();
            return std::nullopt;
        }
        mProgress.update(position(turn->sample->timeUs));
        std::deque<HeldSample>& held = mOverhangs[turn->track].samples;
        if (mSpan.toUs && turn->sample->timeUs >= *mSpan.toUs) {
            holdBack(*turn);
        } else if (held.empty()) {
            return turn;
        } else {
            held.push_back(copy(*turn));
            mReady.swap(held);
        }
    }
    mDeliversReady = true;
    const HeldSample& first = mReady.front();
    mDelivered = {first.timeUs, first.isSync, first.bytes};
    return Interleaver::Turn{first.track, &mDelivered};
}

SpanReader::HeldSample SpanReader::copy(const Interleaver::Turn& turn) {
    const AccessUnit& sample = *turn.sample;
    return {turn.track, sample.timeUs, sample.isSync,
            std::vector<uint8_t>(sample.bytes.data, sample.bytes.data + sample.bytes.size)};
}

void SpanReader::holdBack(const Interleaver::Turn& turn) {
    Overhang& overhang = mOverhangs[turn.track];
    overhang.bytes += turn.sample->bytes.size;
    bool mayBeWanted = overhang.reorders && ++overhang.count <= kDeepestReordering;
    if (mayBeWanted && overhang.bytes <= kMostHeldBytes) {
        overhang.samples.push_back(copy(turn));
    } else {
        mSamples.end(turn.track);
        overhang.samples.clear();
    }
}

// The bytes that samples up to a time are about. Where the duration is unknown, those read are.
int64_t SpanReader::position(int64_t timeUs) const {
    if (mInput.durationUs() <= 0) return mInput.source().count().bytes;
    double share =
            static_cast<double>(timeUs - mSpan.fromUs.value_or(0)) / static_cast<double>(mInput.durationUs());
    return static_cast<int64_t>(share * static_cast<double>(mInput.size()));
}

int64_t SpanReader::total() const {
    int64_t endUs = std::min(mSpan.toUs.value_or(INT64_MAX), mInput.durationUs());
    return mInput.durationUs() <= 0 ? mInput.size() : std::max<int64_t>(position(endUs), 0);
}

}  // namespace orvel
