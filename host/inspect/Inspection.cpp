// SPDX-License-Identifier: Apache-2.0
#include "inspect/Inspection.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

#include "Utils.h"
#include "flv/FileHeader.h"
#include "flv/RunningClock.h"
#include "flv/TagWalk.h"
#include "inspect/StreamChecks.h"
#include "source/CountingSource.h"
#include "source/OpenSource.h"
#include "support/CountText.h"
#include "support/Failure.h"
#include "support/Progress.h"
#include "support/TimeText.h"

namespace orvel {
namespace {

constexpr uint32_t kTagHeaderSize = 11;
constexpr int64_t kPreviousTagSizeSize = 4;

constexpr int64_t kLongestPauseMs = 10000;
constexpr int64_t kIndexSlackMs = 1000;

std::string Seconds(int64_t ms) {
    return FormatSeconds(ms * 1000) + " s";
}

// A number of the metadata, which may be none, or of 300 digits.
std::string Number(double value, int digits) {
    if (!std::isfinite(value)) return std::isnan(value) ? "(not a number)" : "(infinite)";
    return std::abs(value) < 1e12 ? fmt::format("{:.{}f}", value, digits) : fmt::format("{:.3g}", value);
}

class FileChecker {
  public:
    FileChecker(android::DataSource& source, int64_t size, const std::function<void(int64_t)>& progress)
        : mChain(source, size),
          mClock(mChain),
          mProgress(progress),
          mStreamChecks{StreamChecks(TrackKind::kVideo, mChain, mReport.findings),
                        StreamChecks(TrackKind::kAudio, mChain, mReport.findings)} {
        mReport.size = size;
        mReport.timeline.begin(size);
    }
    Inspection run();

  private:
    bool readHeader();
    void walkTags();
    void checkPreviousSize(const TagUnit& unit);
    void tellPreviousSize(int64_t slot, uint32_t found);
    void tellState(const WalkStep& step);
    void tellDamage(const WalkStep& damage);
    void tellDoubt(const RunningClock::Doubt& doubt, const TagUnit& unit, const char* stream);
    void look(const TagUnit& unit);
    void lookAtStream(const TagUnit& unit);
    void lookAtTimes(const TagUnit& unit, int64_t timeMs, StreamSeen* stream);
    void lookAtScript(const TagUnit& unit);
    void lookAtSample(const TagUnit& unit, const StreamHeader& header, int64_t timeMs, StreamSeen* stream);
    StreamSeen* findStream(const StreamHeader& header, int64_t offset);
    void tellCodecs();
    void finish();
    void checkEnd();
    void checkFlags();
    void checkIndex();
    bool checkIndexEntry(double time, double position);
    void checkDuration();

    template <typename... T>
    void add(Kind kind, int64_t offset, fmt::format_string<T...> format, T&&... values) {
        mReport.findings.add(kind, offset, fmt::format(format, std::forward<T>(values)...));
    }

    TagChain mChain;
    RunningClock mClock;
    const std::function<void(int64_t)>& mProgress;
    Inspection mReport;
    uint8_t mFlags = 0;
    int64_t mSlot = 0;
    std::optional<uint32_t> mPreviousSize;
    std::optional<Timeline::Gap> mOpenGap;
    int64_t mMetadataOffset = 0;
    bool mHasPictures = false;
    bool mIsCut = false;                        // the tag looked at
    std::array<StreamChecks, 2> mStreamChecks;  // of video and audio
};

Inspection FileChecker::run() {
    if (readHeader()) {
        walkTags();
        finish();
    }
    return std::move(mReport);
}

bool FileChecker::readHeader() {
    FileHeader header = ReadFileHeader(mChain.source());
    if (!header.error.empty()) {
        add(Kind::kNotFlv, header.errorOffset, "{}", header.error);
        return false;
    }
    mFlags = header.flags;
    if (header.dataOffset != FileHeader::kSize)
        add(Kind::kDataOffset, FileHeader::kDataOffsetOffset, "the data offset is {}", header.dataOffset);
    mSlot = header.firstSlot();
    mReport.isFlv = true;
    return true;
}

void FileChecker::walkTags() {
    TagWalk walk(mChain, mSlot);
    while (std::optional<WalkStep> step = walk.next()) {
        if (!step->isTag()) {
            tellDamage(*step);
            continue;
        }
        const TagUnit& unit = step->unit;
        mProgress(unit.slot);
        checkPreviousSize(unit);
        tellState(*step);
        mIsCut = step->kind == WalkStep::Kind::kCutTag;
        if (unit.dataSize > 0) look(unit);
        mPreviousSize = kTagHeaderSize + unit.dataSize;
        if (mIsCut) mPreviousSize.reset();
    }
    mSlot = walk.end();
    checkEnd();
    for (StreamChecks& checks : mStreamChecks)
        checks.finish();
    tellCodecs();
}

void FileChecker::checkPreviousSize(const TagUnit& unit) {
    if (mPreviousSize && unit.previousTagSize != *mPreviousSize)
        tellPreviousSize(unit.slot, unit.previousTagSize);
}

void FileChecker::tellPreviousSize(int64_t slot, uint32_t found) {
    mReport.findings.addCaused(
            Kind::kPreviousTagSize, slot,
            fmt::format("PreviousTagSize is {}, and should be {}", found, *mPreviousSize),
            found == 0 ? "always 0" : fmt::format("off by {:+}", int64_t{found} - *mPreviousSize));
}

void FileChecker::tellState(const WalkStep& step) {
    const TagUnit& unit = step.unit;
    std::string declared = CountText(step.declaredSize, "byte");
    if (step.kind == WalkStep::Kind::kEmptyTag) {
        add(Kind::kEmptyTag, unit.offset(), "a tag of type {} at {} has no data", unit.type,
            Seconds(unit.timestampMs));
        mReport.timeline.addBytes(Timeline::kDamage, unit.offset(), unit.next());
    } else if (step.kind == WalkStep::Kind::kCutTag) {
        add(Kind::kTruncatedTag, unit.offset(), "a tag of {}, of which {} are there", declared,
            unit.dataSize);
    } else if (step.declaredSize != unit.dataSize) {
        mReport.findings.addCaused(
                Kind::kTagSize, unit.offset(),
                fmt::format("the tag's size says {}, and the next tag shows that it has {}", declared,
                            unit.dataSize),
                fmt::format("off by {:+}", int64_t{step.declaredSize} - unit.dataSize));
    }
}

void FileChecker::tellDamage(const WalkStep& damage) {
    int64_t size = damage.to - damage.from;
    bool isHole = damage.zeros > size / 2;
    std::string zeros =
            isHole && damage.zeros < size ? fmt::format(", the first {} of them zero", damage.zeros) : "";
    std::string bytes = CountText(size, "byte");
    mReport.findings.addCaused(
            isHole ? Kind::kZeros : Kind::kGarbage, damage.from,
            fmt::format("{} {}{}{}", bytes,
                        isHole && zeros.empty() ? (size == 1 ? "is zero" : "are zero")
                                                : (size == 1 ? "is not a tag" : "are not tags"),
                        zeros,
                        damage.endsFile ? "; no tag follows" : fmt::format("; tags resume at {}", damage.to)),
            "of " + bytes);
    mReport.timeline.addBytes(Timeline::kDamage, damage.from, damage.to);
    int64_t before =
            std::max(mReport.timeline.lastMs(TrackKind::kVideo), mReport.timeline.lastMs(TrackKind::kAudio));
    mOpenGap = Timeline::Gap{before, before, damage.from, size};
    mReport.timeline.breakOff();
    mPreviousSize.reset();
    if (damage.endsFile) mReport.timeline.addGap(*std::exchange(mOpenGap, std::nullopt));
}

void FileChecker::look(const TagUnit& unit) {
    ++mReport.tags;
    bool isVideo = unit.is(TagType::kVideo);
    auto content = isVideo                    ? Timeline::kVideo
                   : unit.is(TagType::kAudio) ? Timeline::kAudio
                                              : Timeline::kScript;
    mReport.timeline.addBytes(content, unit.offset(), unit.next());
    if (!unit.isKnown()) {
        add(Kind::kUnknownTag, unit.offset(), "a tag of type {} with {}", unit.type,
            CountText(unit.dataSize, "byte"));
    } else if (unit.is(TagType::kScript)) {
        lookAtScript(unit);
    } else {
        lookAtStream(unit);
    }
}

StreamSeen* FileChecker::findStream(const StreamHeader& header, int64_t offset) {
    bool isFirst = true;
    for (StreamSeen& stream : mReport.streams) {
        if (stream.header.kind != header.kind) continue;
        if (stream.header.isSameCodec(header)) return &stream;
        isFirst = false;
    }
    if (mReport.streams.size() == Inspection::kMostStreams) return nullptr;
    StreamSeen stream;
    stream.header = header;
    stream.firstOffset = offset;
    stream.whyNoTrack = isFirst ? WhyNoTrack(header) : "another codec of its kind comes first";
    mReport.streams.push_back(stream);
    return &mReport.streams.back();
}

// Of a stream that flaps the codecs' names mean nothing.
void FileChecker::tellCodecs() {
    bool isFirst[] = {true, true};
    for (const StreamSeen& stream : mReport.streams) {
        const size_t kind = stream.header.kind == TrackKind::kVideo ? 0 : 1;
        bool goesOn = !std::exchange(isFirst[kind], false);
        if (mStreamChecks[kind].flaps()) continue;
        if (goesOn) {
            add(Kind::kCodecChange, stream.firstOffset, "the {} goes on as {}", stream.kindName(),
                CodecName(stream.header));
        }
        if (!stream.whyNoTrack.empty()) {
            add(Kind::kNoTrack, stream.firstOffset, "{} {}, {}, {}: {}", stream.kindName(),
                CodecName(stream.header), CountText(stream.tags, "tag"), CountText(stream.bytes, "byte"),
                stream.whyNoTrack);
        }
    }
}

void FileChecker::lookAtStream(const TagUnit& unit) {
    StreamHeader header = ReadStreamHeader(unit);
    int64_t timeMs = header.isSample() ? mClock.place(unit, header.kind) : unit.timestampMs;
    mStreamChecks[header.kind == TrackKind::kVideo ? 0 : 1].look(unit, header, timeMs, mIsCut);
    if (header.isCommand) return;
    StreamSeen* stream = findStream(header, unit.offset());
    if (stream == nullptr) return;
    ++stream->tags;
    stream->bytes += unit.dataSize;
    if (header.isConfiguration && stream->configurationSlots.size() < StreamSeen::kMostConfigurations)
        stream->configurationSlots.push_back(unit.slot);
    if (header.isSample()) lookAtSample(unit, header, timeMs, stream);
}

void FileChecker::lookAtSample(const TagUnit& unit, const StreamHeader& header, int64_t timeMs,
                               StreamSeen* stream) {
    if (stream->firstSampleSlot < 0 && (header.kind == TrackKind::kAudio || header.isKeyFrame()))
        stream->firstSampleSlot = unit.slot;
    if (header.kind == TrackKind::kVideo && !std::exchange(mHasPictures, true) && !header.isKeyFrame()) {
        add(Kind::kNoKeyFrameFirst, unit.offset(), "the first video frame is of type {}", header.frameType);
    }
    ++stream->samples;
    stream->payloadBytes += unit.dataSize - header.size;
    int64_t presentationMs = timeMs + header.compositionMs;
    if (stream->startMs < 0 || presentationMs < stream->startMs) stream->startMs = presentationMs;
    if (header.isKeyFrame()) ++stream->keyFrames;
    if (header.kind == TrackKind::kVideo && stream->keyFrames == 0) ++stream->leadingFrames;
    lookAtTimes(unit, timeMs, stream);
    mReport.timeline.addSample(header.kind, timeMs, unit.dataSize, header.isKeyFrame());
    if (!mOpenGap) return;
    mOpenGap->toMs = timeMs;
    mReport.timeline.addGap(*std::exchange(mOpenGap, std::nullopt));
}

void FileChecker::lookAtTimes(const TagUnit& unit, int64_t timeMs, StreamSeen* stream) {
    if (stream->firstMs < 0) stream->firstMs = timeMs;
    if (stream->lastMs >= 0) {
        int64_t step = timeMs - stream->lastMs;
        stream->shortestStepMs = stream->shortestStepMs < 0 ? step : std::min(stream->shortestStepMs, step);
        stream->longestStepMs = std::max(stream->longestStepMs, step);
    }
    if (mClock.doubt()) {
        tellDoubt(*mClock.doubt(), unit, stream->kindName());
    } else if (stream->lastMs >= 0 && timeMs < stream->lastMs) {
        add(Kind::kTimeBack, unit.offset(), "the {} goes back from {} to {}", stream->kindName(),
            Seconds(stream->lastMs), Seconds(timeMs));
    } else if (stream->lastMs >= 0 && timeMs > stream->lastMs + kLongestPauseMs) {
        add(Kind::kTimeJump, unit.offset(), "the {} jumps from {} to {}", stream->kindName(),
            Seconds(stream->lastMs), Seconds(timeMs));
    }
    stream->lastMs = timeMs;
}

void FileChecker::tellDoubt(const RunningClock::Doubt& doubt, const TagUnit& unit, const char* stream) {
    mReport.clockIsSound = false;
    std::string file = Seconds(doubt.fileMs), clock = Seconds(doubt.clockMs);
    switch (doubt.kind) {
        case RunningClock::Doubt::Kind::kOutlier:
            return add(Kind::kTimeImplausible, unit.offset(),
                       "one timestamp of the {} says {}; it was due at {}", stream, file, clock);
        case RunningClock::Doubt::Kind::kReconnect:
            return add(Kind::kReconnect, unit.offset(),
                       "the clock begins anew: the {} goes on at {} in the file, {} of the running clock",
                       stream, file, clock);
        case RunningClock::Doubt::Kind::kWrap:
            return add(Kind::kTimeWrap, unit.offset(),
                       "the clock has run out of bits: the {} goes on at {} in the file, {} of the running "
                       "clock",
                       stream, file, clock);
        case RunningClock::Doubt::Kind::kOffset:
            return add(Kind::kTimeOffset, unit.offset(),
                       "the {} begins at {} in the file, {} of the running clock", stream, file, clock);
    }
}

void FileChecker::lookAtScript(const TagUnit& unit) {
    ScriptEvent event = ReadScript(mChain, unit);
    if (!mReport.metadata && (mReport.metadata = ReadMetadata(event))) {
        mMetadataOffset = unit.offset();
        mClock.setDuration(mReport.metadata->durationSeconds.value_or(0));
        if (event.error.text.empty()) return;
        return add(Kind::kMetadataBroken, unit.dataOffset() + static_cast<int64_t>(event.error.offset), "{}",
                   event.error.text);
    }
    if (!event.isMetadata()) mReport.scripts.add(std::move(event));
}

void FileChecker::finish() {
    mProgress(mReport.size);
    if (mReport.streams.empty()) add(Kind::kNoStreams, FileHeader::kSize, "no audio or video tag was found");
    checkFlags();
    checkIndex();
    checkDuration();
    mReport.findings.finish();
}

// A last PreviousTagSize, or nothing at all, is how a chain ends.
void FileChecker::checkEnd() {
    int64_t left = mReport.size - mSlot;
    std::vector<uint8_t> field = mChain.bytes(mSlot, kPreviousTagSizeSize);
    if (left == 0 && mPreviousSize) add(Kind::kNoLastSize, mSlot, "the file ends with its last tag's data");
    if (left > kPreviousTagSizeSize) {
        add(Kind::kTrailingBytes, mSlot + kPreviousTagSizeSize, "{} behind the last tag",
            CountText(left - kPreviousTagSizeSize, "byte"));
    }
    if (field.size() < kPreviousTagSizeSize || !mPreviousSize) return;
    uint32_t last = android::U32_AT(field.data());
    if (last == *mPreviousSize) return;
    tellPreviousSize(mSlot, last);
}

void FileChecker::checkFlags() {
    for (TrackKind kind : {TrackKind::kVideo, TrackKind::kAudio}) {
        bool isVideo = kind == TrackKind::kVideo;
        bool isClaimed = (mFlags & (isVideo ? FileHeader::kVideoFlag : FileHeader::kAudioFlag)) != 0;
        bool isThere = std::any_of(mReport.streams.begin(), mReport.streams.end(),
                                   [kind](const StreamSeen& stream) { return stream.header.kind == kind; });
        if (isClaimed == isThere) continue;
        add(Kind::kHeaderFlags, FileHeader::kFlagsOffset, "the header claims {}{}, and there is {}",
            isClaimed ? "" : "no ", isVideo ? "video" : "audio", isThere ? "some" : "none");
    }
}

void FileChecker::checkIndex() {
    if (!mReport.metadata) return;
    const Metadata& metadata = *mReport.metadata;
    if (metadata.positions.size() != metadata.times.size()) {
        add(Kind::kIndexUneven, mMetadataOffset, "{} and {}",
            CountText(metadata.positions.size(), "position"), CountText(metadata.times.size(), "time"));
    }
    size_t count =
            std::min({metadata.positions.size(), metadata.times.size(), Inspection::kMostIndexEntries});
    for (size_t i = 0; i < count; ++i) {
        double time = metadata.times[i], position = metadata.positions[i];
        bool isRight = checkIndexEntry(time, position);
        bool isInFile = position >= 0 && position < static_cast<double>(mReport.size);
        mReport.index.push_back({time, isInFile ? static_cast<int64_t>(position) : -1, isRight});
    }
}

bool FileChecker::checkIndexEntry(double time, double position) {
    bool isInFile = position >= FileHeader::kSize && position < static_cast<double>(mReport.size);
    std::optional<TagUnit> unit;
    if (isInFile) unit = mChain.read(static_cast<int64_t>(position) - kPreviousTagSizeSize);
    if (!unit || !unit->is(TagType::kVideo) || !ReadStreamHeader(*unit).isKeyFrame()) {
        add(Kind::kIndexMisses, mMetadataOffset, "the entry for {} s points at {}, where no key frame begins",
            Number(time, 3), Number(position, 0));
        return false;
    }
    bool isNear = std::abs(time * 1000 - unit->timestampMs) <= kIndexSlackMs;
    if (!isNear && ReadStreamHeader(*unit).isSample()) {
        add(Kind::kIndexTime, mMetadataOffset, "the entry for {} s points at a key frame of {}",
            Number(time, 3), Seconds(unit->timestampMs));
    }
    return true;
}

void FileChecker::checkDuration() {
    if (!mReport.metadata) {
        add(Kind::kNoMetadata, FileHeader::kSize, "there is no onMetaData");
        return;
    }
    if (!mReport.metadata->durationSeconds || *mReport.metadata->durationSeconds == 0) {
        add(Kind::kNoDuration, mMetadataOffset, "no duration is named");
        return;
    }
    double seconds = *mReport.metadata->durationSeconds, seen = static_cast<double>(mReport.spanMs()) / 1000;
    double slack = std::max(1.0, seen / 50);
    if (std::abs(seconds - seen) <= slack) return;
    add(Kind::kDurationWrong, mMetadataOffset, "the duration is {} s, and the tags span {:.3f} s",
        Number(seconds, 3), seen);
}

}  // namespace

void Scripts::add(ScriptEvent event) {
    bool isNew = counts.size() < kMostNames || counts.count(event.name) > 0;
    Count& count = counts[isNew ? event.name : ""];
    ++count.tags;
    count.bytes += event.bytes;
    eventBytes += event.bytes;
    if (eventBytes <= kMostBytes) events.push_back(std::move(event));
}

int64_t Inspection::spanMs() const {
    int64_t first = INT64_MAX, last = 0;
    for (const StreamSeen& stream : streams) {
        if (stream.samples == 0) continue;
        first = std::min(first, stream.firstMs);
        last = std::max(last, stream.lastMs);
    }
    return first == INT64_MAX ? 0 : std::max<int64_t>(last - first, 0);
}

Inspection Inspect(android::DataSource& source, int64_t size, const std::function<void(int64_t)>& progress) {
    return FileChecker(source, size, progress).run();
}

Inspection InspectSource(CountingSource& source, int64_t size, const std::string& name) {
    Progress progress(name, size);
    Inspection report = Inspect(source, size, [&](int64_t done) { progress.update(done); });
    // What was found at the end of a file that has become shorter since it was measured is not the file's
    // fault.
    uint8_t last;
    bool isWhole = size == 0 || source.readAt(size - 1, &last, 1) == 1;
    if (source.hasFailed()) throw Failure(ExitCode::kInputOutput, LastReadError(source.inner(), name));
    if (!isWhole) throw Failure(ExitCode::kInputOutput, name + ": became shorter while it was read");
    progress.finish();
    return report;
}

Inspection InspectLocation(const std::string& location) {
    std::string error, name = ShownLocation(location);
    android::sp<android::DataSource> opened = OpenSource(location, &error);
    if (opened == nullptr) throw Failure(ExitCode::kInputOutput, error);
    android::sp<CountingSource> source = new CountingSource(opened);
    off64_t size = 0;
    if (source->getSize(&size) != android::OK) {
        throw Failure(ExitCode::kInputOutput, name + ": the size is unknown");
    }
    return InspectSource(*source, size, name);
}

}  // namespace orvel
