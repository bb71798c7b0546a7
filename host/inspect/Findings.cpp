// SPDX-License-Identifier: Apache-2.0
#include "inspect/Findings.h"

#include <algorithm>

namespace orvel {

const char* NameOf(Severity severity) {
    switch (severity) {
        case Severity::kNote:
            return "note";
        case Severity::kWarning:
            return "warning";
        case Severity::kError:
            return "error";
    }
    return "";
}

const std::vector<KindTraits>& AllKinds() {
    constexpr auto kNote = Severity::kNote, kWarning = Severity::kWarning, kError = Severity::kError;
    static const std::vector<KindTraits> kKinds = {
            {Kind::kNotFlv, "not-flv", kError, "the file does not begin as FLV does"},
            {Kind::kNoStreams, "no-streams", kError, "there is no audio or video tag"},
            {Kind::kGarbage, "garbage", kError, "bytes that are no tags stand where a tag should"},
            {Kind::kZeros, "zeros", kError, "zeros stand where a tag should"},
            {Kind::kTagSize, "tag-size", kError, "the size in a tag's header is wrong"},
            {Kind::kEmptyTag, "empty-tag", kError, "a tag has no data; the plug-in ends a track there"},
            {Kind::kTruncatedTag, "truncated-tag", kError, "the file ends inside a tag"},
            {Kind::kHeaderFlags, "header-flags", kWarning, "the header's flags and the tags disagree"},
            {Kind::kDataOffset, "data-offset", kWarning, "the header is not 9 bytes long"},
            {Kind::kPreviousTagSize, "previous-tag-size", kWarning, "a PreviousTagSize field is wrong"},
            {Kind::kUnknownTag, "unknown-tag", kWarning, "a tag is neither audio, video nor script data"},
            {Kind::kTrailingBytes, "trailing-bytes", kWarning, "bytes follow the last tag"},
            {Kind::kTimeBack, "time-back", kWarning, "a stream's timestamp is before the one before"},
            {Kind::kTimeJump, "time-jump", kWarning,
             "a stream's timestamp is over 10 s after the one before"},
            {Kind::kTimeImplausible, "time-implausible", kWarning, "a single timestamp is wrong"},
            {Kind::kReconnect, "reconnect", kWarning, "the timestamps begin anew"},
            {Kind::kTimeWrap, "time-wrap", kWarning, "the timestamps have run out of bits"},
            {Kind::kTimeOffset, "time-offset", kWarning, "the timestamps begin at a day or more"},
            {Kind::kMetadataBroken, "metadata-broken", kWarning, "onMetaData cannot be parsed to its end"},
            {Kind::kIndexUneven, "index-uneven", kWarning, "the index has not a time for every position"},
            {Kind::kIndexMisses, "index-misses", kWarning, "an index entry's position is not a key frame's"},
            {Kind::kIndexTime, "index-time", kWarning, "an index entry is over 1 s away from its key frame"},
            {Kind::kDurationWrong, "duration-wrong", kWarning, "the metadata's duration is not the tags'"},
            {Kind::kCodecChange, "codec-change", kWarning,
             "a stream changes its codec; readers take the first"},
            {Kind::kNoTrack, "no-track", kNote, "the plug-in offers no track for a stream"},
            {Kind::kNoKeyFrameFirst, "no-key-frame-first", kNote,
             "the video does not begin with a key frame"},
            {Kind::kNoMetadata, "no-metadata", kNote, "there is no onMetaData"},
            {Kind::kNoDuration, "no-duration", kNote, "onMetaData names no duration"},
            {Kind::kNoLastSize, "no-last-size", kNote, "the last PreviousTagSize is missing"},
    };
    return kKinds;
}

const KindTraits& TraitsOf(Kind kind) {
    const std::vector<KindTraits>& kinds = AllKinds();
    return *std::find_if(kinds.begin(), kinds.end(),
                         [kind](const KindTraits& row) { return row.kind == kind; });
}

void Findings::add(Kind kind, int64_t offset, std::string text) {
    if (mCounts[kind]++ < kMostShown) mShown.push_back({kind, offset, std::move(text)});
}

uint64_t Findings::count(Severity severity) const {
    uint64_t count = 0;
    for (const auto& [kind, times] : mCounts) {
        if (TraitsOf(kind).severity == severity) count += times;
    }
    return count;
}

}  // namespace orvel
