// SPDX-License-Identifier: Apache-2.0
#include "inspect/Findings.h"

#include <fmt/format.h>

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
            {Kind::kNotFlv, "not-flv", kError, "the file does not begin as FLV does",
             "look at what it is: its name may be wrong"},
            {Kind::kNoStreams, "no-streams", kError, "there is no audio or video tag",
             "ask whoever recorded it for another copy"},
            {Kind::kGarbage, "garbage", kError, "bytes that are no tags stand where a tag should",
             "extract --recover gets all around them"},
            {Kind::kZeros, "zeros", kError, "zeros stand where a tag should",
             "extract --recover gets all around them; look at the disk or the download"},
            {Kind::kTagSize, "tag-size", kError, "the size in a tag's header is wrong",
             "extract --recover takes the true size"},
            {Kind::kEmptyTag, "empty-tag", kWarning, "a tag has no data; the plug-in reads no further",
             "extract --recover passes it"},
            {Kind::kTruncatedTag, "truncated-tag", kError, "the file or the next tag cuts a tag short",
             "extract --recover keeps what there is of it"},
            {Kind::kHeaderFlags, "header-flags", kWarning, "the header's flags and the tags disagree",
             "nothing: players cope"},
            {Kind::kDataOffset, "data-offset", kWarning, "the header is not 9 bytes long",
             "nothing: players cope"},
            {Kind::kPreviousTagSize, "previous-tag-size", kWarning, "a PreviousTagSize field is wrong",
             "nothing: only seeking backwards without an index is slower"},
            {Kind::kUnknownTag, "unknown-tag", kWarning, "a tag is neither audio, video nor script data",
             "nothing: readers pass it"},
            {Kind::kTrailingBytes, "trailing-bytes", kWarning, "bytes follow the last tag",
             "nothing, if the end is there; else ask for another copy"},
            {Kind::kTimeBack, "time-back", kWarning, "a stream's timestamp is before the one before",
             "remux moves it up"},
            {Kind::kTimeJump, "time-jump", kWarning, "a stream's timestamp is over 10 s after the one before",
             "nothing, if the recording has a pause there"},
            {Kind::kTimeImplausible, "time-implausible", kWarning, "a single timestamp is wrong",
             "extract --recover gives the time that was due"},
            {Kind::kReconnect, "reconnect", kWarning, "the timestamps begin anew",
             "extract --recover goes on with the running clock"},
            {Kind::kTimeWrap, "time-wrap", kWarning, "the timestamps have run out of bits",
             "extract --recover goes on with the running clock"},
            {Kind::kTimeOffset, "time-offset", kWarning, "the timestamps begin at a day or more",
             "extract --recover begins at 0"},
            {Kind::kMetadataBroken, "metadata-broken", kWarning, "onMetaData cannot be parsed to its end",
             "nothing, but for a missing duration or index"},
            {Kind::kIndexUneven, "index-uneven", kWarning, "the index has not a time for every position",
             "make the index anew; the plug-in seeks without it"},
            {Kind::kIndexMisses, "index-misses", kWarning, "an index entry's position is not a key frame's",
             "make the index anew: seeks land elsewhere"},
            {Kind::kIndexTime, "index-time", kWarning, "an index entry is over 1 s away from its key frame",
             "make the index anew: seeks land elsewhere"},
            {Kind::kDurationWrong, "duration-wrong", kWarning, "the metadata's duration is not the tags'",
             "nothing; players show the wrong one"},
            {Kind::kCodecChange, "codec-change", kWarning,
             "a stream changes its codec; readers take the first",
             "extract --recover takes the one with the most samples"},
            {Kind::kCodecFlaps, "codec-flaps", kError, "a stream changes its codec again and again",
             "ask the recorder: the tags are not what they say"},
            {Kind::kUnknownValues, "unknown-values", kError, "many tags have values that FLV does not have",
             "ask the recorder: the tags are not what they say"},
            {Kind::kUnknownValue, "unknown-value", kWarning,
             "a tag or two have values that FLV does not have", "nothing: players cope"},
            {Kind::kStrayBytes, "stray-bytes", kError,
             "stray bytes stand before the headers of a stream's tags",
             "ask the recorder: its writer puts them there"},
            {Kind::kConfigurationBroken, "configuration-broken", kError,
             "a codec configuration cannot be read", "ask the recorder: decoders need it"},
            {Kind::kConfigurationChange, "configuration-change", kWarning,
             "a codec configuration changes midway; readers take the first",
             "extract the parts before and after it with --to and --from"},
            {Kind::kPayloadForm, "payload-form", kError, "samples are not formed as the configuration says",
             "ask the recorder; decoders may show nothing"},
            {Kind::kSoundHeader, "sound-header", kWarning, "the tag's header contradicts the sound's own",
             "nothing: decoders go by their own; players that do not, play at a wrong speed"},
            {Kind::kNoTrack, "no-track", kWarning, "the plug-in offers no track for a stream",
             "take another tool for this stream"},
            {Kind::kNoKeyFrameFirst, "no-key-frame-first", kNote, "the video does not begin with a key frame",
             "nothing: the first pictures cannot be decoded"},
            {Kind::kNoMetadata, "no-metadata", kNote, "there is no onMetaData", "nothing"},
            {Kind::kNoDuration, "no-duration", kNote, "onMetaData names no duration",
             "nothing: the plug-in looks at the end of the file"},
            {Kind::kNoLastSize, "no-last-size", kNote, "the last PreviousTagSize is missing", "nothing"},
    };
    return kKinds;
}

const KindTraits& TraitsOf(Kind kind) {
    const std::vector<KindTraits>& kinds = AllKinds();
    return *std::find_if(kinds.begin(), kinds.end(),
                         [kind](const KindTraits& row) { return row.kind == kind; });
}

void Findings::add(Kind kind, int64_t offset, std::string text, uint64_t times) {
    uint64_t& count = mCounts[kind];
    bool isShown = count < kMostShown || times > 1;
    count += times;
    ++mFindings[kind];
    if (isShown) mShown.push_back({kind, offset, std::move(text), times});
}

void Findings::addCaused(Kind kind, int64_t offset, std::string text, const std::string& cause) {
    auto key = std::make_pair(kind, cause);
    if (mCaused.size() == kMostCauses && mCaused.count(key) == 0) return add(kind, offset, std::move(text));
    Caused& caused = mCaused[key];
    if (++caused.times < kMany) caused.first.push_back({kind, offset, std::move(text), 1});
}

void Findings::finish() {
    for (auto& [key, caused] : mCaused) {
        Finding& first = caused.first[0];
        if (caused.times >= kMany) {
            std::string text = fmt::format("{} ({} times {})", first.text, caused.times, key.second);
            add(first.kind, first.offset, std::move(text), caused.times);
            continue;
        }
        for (Finding& finding : caused.first)
            add(finding.kind, finding.offset, std::move(finding.text));
    }
    mCaused.clear();
    std::stable_sort(mShown.begin(), mShown.end(),
                     [](const Finding& a, const Finding& b) { return a.offset < b.offset; });
}

uint64_t Findings::shownOf(Kind kind) const {
    uint64_t shown = 0;
    for (const Finding& finding : mShown)
        shown += finding.kind == kind ? finding.times : 0;
    return shown;
}

uint64_t Findings::count(Severity severity) const {
    uint64_t count = 0;
    for (const auto& [kind, times] : mFindings) {
        if (TraitsOf(kind).severity == severity) count += times;
    }
    return count;
}

}  // namespace orvel
