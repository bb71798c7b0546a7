// SPDX-License-Identifier: Apache-2.0
#include "inspect/Inspection.h"

#include <fmt/format.h>
#include <string.h>

#include <algorithm>
#include <cmath>
#include <utility>

#include "Utils.h"
#include "source/CountingSource.h"
#include "source/OpenSource.h"
#include "support/CountText.h"
#include "support/Failure.h"
#include "support/Progress.h"
#include "support/TimeText.h"

namespace orvel {
namespace {

constexpr int64_t kHeaderSize = 9;
constexpr int64_t kFlagsOffset = 4;
constexpr uint8_t kAudioFlag = 4, kVideoFlag = 1;
constexpr uint32_t kTagHeaderSize = 11;
constexpr int64_t kPreviousTagSizeSize = 4;

constexpr int64_t kLongestPauseMs = 10000;
constexpr int64_t kIndexSlackMs = 1000;
constexpr size_t kLongestMetadata = 1 << 24;

std::string Seconds(int64_t ms) {
    return FormatSeconds(ms * 1000) + " s";
}

// A number of the metadata, which may be none, or of 300 digits.
std::string Number(double value, int digits) {
    if (!std::isfinite(value)) return std::isnan(value) ? "(not a number)" : "(infinite)";
    return std::abs(value) < 1e12 ? fmt::format("{:.{}f}", value, digits) : fmt::format("{:.3g}", value);
}

class Walk {
  public:
    Walk(android::DataSource& source, int64_t size, const std::function<void(int64_t)>& progress)
        : mChain(source, size), mProgress(progress) {
        mReport.size = size;
        mReport.timeline.begin(size);
    }
    Inspection run();

  private:
    bool readHeader();
    void walkTags();
    void checkPreviousSize(const TagUnit& unit);
    bool passDamage(const TagUnit& unit, TagChain::State state);
    void look(const TagUnit& unit);
    void lookAtStream(const TagUnit& unit);
    void lookAtTimes(const TagUnit& unit, StreamSeen* stream);
    void lookAtScript(const TagUnit& unit);
    StreamSeen* findStream(const StreamHeader& header, int64_t offset);
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
    const std::function<void(int64_t)>& mProgress;
    Inspection mReport;
    uint8_t mFlags = 0;
    int64_t mSlot = 0;
    std::optional<uint32_t> mPreviousSize;
    std::optional<Timeline::Gap> mOpenGap;
    int64_t mMetadataOffset = 0;
};

Inspection Walk::run() {
    if (readHeader()) {
        walkTags();
        finish();
    }
    return std::move(mReport);
}

bool Walk::readHeader() {
    std::vector<uint8_t> header = mChain.bytes(0, kHeaderSize);
    bool isSigned = header.size() >= 4 && memcmp(header.data(), "FLV\x01", 4) == 0;
    int64_t dataOffset =
            isSigned && header.size() == kHeaderSize ? static_cast<int32_t>(android::U32_AT(&header[5])) : -1;
    if (!isSigned) add(Kind::kNotFlv, 0, "the signature FLV and version 1 are missing");
    if (isSigned && header.size() < kHeaderSize) {
        add(Kind::kNotFlv, static_cast<int64_t>(header.size()), "the file ends inside the header");
    }
    if (!isSigned || header.size() < kHeaderSize) return false;
    mFlags = header[kFlagsOffset];
    if (dataOffset != kHeaderSize) add(Kind::kDataOffset, 5, "the data offset is {}", dataOffset);
    mSlot = std::max(dataOffset, kHeaderSize);
    mReport.isFlv = true;
    return true;
}

void Walk::walkTags() {
    while (std::optional<TagUnit> unit = mChain.read(mSlot)) {
        mProgress(mSlot);
        TagChain::State state = mChain.judge(*unit, mPreviousSize);
        if (state != TagChain::State::kSound) {
            if (!passDamage(*unit, state)) return;
            continue;
        }
        checkPreviousSize(*unit);
        look(*unit);
        mPreviousSize = kTagHeaderSize + unit->dataSize;
        mSlot = unit->next();
    }
    checkEnd();
}

void Walk::checkPreviousSize(const TagUnit& unit) {
    uint32_t expected = mPreviousSize.value_or(unit.previousTagSize);
    if (unit.previousTagSize == expected) return;
    add(Kind::kPreviousTagSize, unit.slot, "PreviousTagSize is {}, and should be {}", unit.previousTagSize,
        expected);
}

// Result: whether tags follow, with mSlot at the first one.
bool Walk::passDamage(const TagUnit& unit, TagChain::State state) {
    if (state == TagChain::State::kEmpty) {
        add(Kind::kEmptyTag, unit.offset(), "a tag of type {} at {} has no data", unit.type,
            Seconds(unit.timestampMs));
        mReport.timeline.addBytes(Timeline::kDamage, unit.offset(), unit.next());
        mPreviousSize = kTagHeaderSize;
        mSlot = unit.next();
        return true;
    }
    std::optional<int64_t> next = mChain.resume(unit.slot + 1);
    int64_t end = next.value_or(mReport.size);
    if (state == TagChain::State::kTruncated && !next) {
        add(Kind::kTruncatedTag, unit.offset(), "a tag of {}, of which {} are there",
            CountText(unit.dataSize, "byte"), mReport.size - unit.dataOffset());
    } else {
        add(Kind::kGarbage, unit.offset(), "{} not tags{}",
            CountText(end - unit.offset(), "byte") + (end - unit.offset() == 1 ? " is" : " are"),
            next ? fmt::format("; tags resume at {}", *next + kPreviousTagSizeSize)
                 : ", nor is anything behind");
    }
    mReport.timeline.addBytes(Timeline::kDamage, unit.offset(), end);
    int64_t before =
            std::max(mReport.timeline.lastMs(TrackKind::kVideo), mReport.timeline.lastMs(TrackKind::kAudio));
    mOpenGap = Timeline::Gap{before, before, unit.offset(), end - unit.offset()};
    mReport.timeline.breakOff();
    mPreviousSize.reset();
    mSlot = end;
    if (!next) mReport.timeline.addGap(*std::exchange(mOpenGap, std::nullopt));
    return next.has_value();
}

void Walk::look(const TagUnit& unit) {
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

StreamSeen* Walk::findStream(const StreamHeader& header, int64_t offset) {
    bool isFirst = true;
    for (StreamSeen& stream : mReport.streams) {
        if (stream.header.kind != header.kind) continue;
        bool isSame = stream.header.isEnhanced == header.isEnhanced && stream.header.codec == header.codec;
        if (isSame) return &stream;
        isFirst = false;
    }
    if (mReport.streams.size() == Inspection::kMostStreams) return nullptr;
    StreamSeen stream;
    stream.header = header;
    stream.firstOffset = offset;
    stream.whyNoTrack = isFirst ? WhyNoTrack(header) : "another codec of its kind comes first";
    const char* kind = stream.kindName();
    if (!isFirst) add(Kind::kCodecChange, offset, "the {} goes on as {}", kind, CodecName(header));
    if (!stream.whyNoTrack.empty()) {
        add(Kind::kNoTrack, offset, "{} {}: {}", kind, CodecName(header), stream.whyNoTrack);
    }
    mReport.streams.push_back(stream);
    return &mReport.streams.back();
}

void Walk::lookAtStream(const TagUnit& unit) {
    StreamHeader header = ReadStreamHeader(unit);
    if (header.isCommand) return;
    StreamSeen* stream = findStream(header, unit.offset());
    if (stream == nullptr) return;
    stream->bytes += unit.dataSize;
    if (!header.isSample()) return;
    if (header.kind == TrackKind::kVideo && stream->samples == 0 && !header.isKeyFrame()) {
        add(Kind::kNoKeyFrameFirst, unit.offset(), "the first video frame is of type {}", header.frameType);
    }
    ++stream->samples;
    if (header.isKeyFrame()) ++stream->keyFrames;
    lookAtTimes(unit, stream);
    mReport.timeline.addSample(header.kind, unit.timestampMs, unit.dataSize, header.isKeyFrame());
    if (!mOpenGap) return;
    mOpenGap->toMs = unit.timestampMs;
    mReport.timeline.addGap(*std::exchange(mOpenGap, std::nullopt));
}

void Walk::lookAtTimes(const TagUnit& unit, StreamSeen* stream) {
    int64_t timeMs = unit.timestampMs;
    if (stream->firstMs < 0) stream->firstMs = timeMs;
    if (stream->lastMs >= 0 && timeMs < stream->lastMs) {
        add(Kind::kTimeBack, unit.offset(), "the {} goes back from {} to {}", stream->kindName(),
            Seconds(stream->lastMs), Seconds(timeMs));
    }
    if (stream->lastMs >= 0 && timeMs > stream->lastMs + kLongestPauseMs) {
        add(Kind::kTimeJump, unit.offset(), "the {} jumps from {} to {}", stream->kindName(),
            Seconds(stream->lastMs), Seconds(timeMs));
    }
    stream->lastMs = timeMs;
}

void Walk::lookAtScript(const TagUnit& unit) {
    if (mReport.metadata) return;
    mReport.metadata =
            ParseMetadata(mChain.bytes(unit.dataOffset(), std::min<size_t>(unit.dataSize, kLongestMetadata)));
    if (!mReport.metadata) return;
    mMetadataOffset = unit.offset();
    if (mReport.metadata->error.empty()) return;
    int64_t offset = unit.dataOffset() + static_cast<int64_t>(mReport.metadata->errorOffset);
    add(Kind::kMetadataBroken, offset, "{}", mReport.metadata->error);
}

void Walk::finish() {
    mProgress(mReport.size);
    if (mReport.streams.empty()) add(Kind::kNoStreams, kHeaderSize, "no audio or video tag was found");
    checkFlags();
    checkIndex();
    checkDuration();
}

// A last PreviousTagSize, or nothing at all, is how a chain ends.
void Walk::checkEnd() {
    int64_t left = mReport.size - mSlot;
    std::vector<uint8_t> field = mChain.bytes(mSlot, kPreviousTagSizeSize);
    if (left == 0 && mReport.tags > 0)
        add(Kind::kNoLastSize, mSlot, "the file ends with its last tag's data");
    if (left > kPreviousTagSizeSize) {
        add(Kind::kTrailingBytes, mSlot + kPreviousTagSizeSize, "{} behind the last tag",
            CountText(left - kPreviousTagSizeSize, "byte"));
    }
    if (field.size() < kPreviousTagSizeSize || !mPreviousSize) return;
    uint32_t last = android::U32_AT(field.data());
    if (last == *mPreviousSize) return;
    add(Kind::kPreviousTagSize, mSlot, "the last PreviousTagSize is {}, and should be {}", last,
        *mPreviousSize);
}

void Walk::checkFlags() {
    for (TrackKind kind : {TrackKind::kVideo, TrackKind::kAudio}) {
        bool isVideo = kind == TrackKind::kVideo;
        bool isClaimed = (mFlags & (isVideo ? kVideoFlag : kAudioFlag)) != 0;
        bool isThere = std::any_of(mReport.streams.begin(), mReport.streams.end(),
                                   [kind](const StreamSeen& stream) { return stream.header.kind == kind; });
        if (isClaimed == isThere) continue;
        add(Kind::kHeaderFlags, kFlagsOffset, "the header claims {}{}, and there is {}",
            isClaimed ? "" : "no ", isVideo ? "video" : "audio", isThere ? "some" : "none");
    }
}

void Walk::checkIndex() {
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

bool Walk::checkIndexEntry(double time, double position) {
    bool isInFile = position >= kHeaderSize && position < static_cast<double>(mReport.size);
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

void Walk::checkDuration() {
    if (!mReport.metadata) {
        add(Kind::kNoMetadata, kHeaderSize, "there is no onMetaData");
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
    return Walk(source, size, progress).run();
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
    Progress progress(name, size);
    Inspection report = Inspect(*source, size, [&](int64_t done) { progress.update(done); });
    // What was found at the end of a file that has become shorter since it was measured is not the file's
    // fault.
    uint8_t last;
    bool isWhole = size == 0 || source->readAt(size - 1, &last, 1) == 1;
    if (source->hasFailed()) throw Failure(ExitCode::kInputOutput, LastReadError(opened, name));
    if (!isWhole) throw Failure(ExitCode::kInputOutput, name + ": became shorter while it was read");
    progress.finish();
    return report;
}

}  // namespace orvel
