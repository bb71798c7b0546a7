// SPDX-License-Identifier: Apache-2.0
#include "command/RecoveringReader.h"

#include <media/stagefright/MediaBuffer.h>
#include <media/stagefright/MediaErrors.h>

#include <algorithm>
#include <utility>

#include "flv/FileHeader.h"
#include "flv/Metadata.h"

namespace orvel {

RecoveringReader::RecoveringReader(const android::sp<android::DataSource>& source, int64_t size,
                                   const StreamHeader& codec, Recovery recovery, LossReport report)
    : mSource(source),
      mCodec(codec),
      mRecovery(recovery),
      mReport(std::move(report)),
      mChain(*source, size),
      mFirstSlot(ReadFileHeader(*source).firstSlot()),
      mPlace{TagWalk(mChain, mFirstSlot), RunningClock(mChain)} {}

android::status_t RecoveringReader::start(android::MetaData*) {
    mPlace = Place{TagWalk(mChain, mFirstSlot), RunningClock(mChain)};
    mLeftOut = LeftOutPictures();
    return android::OK;
}

android::status_t RecoveringReader::read(android::MediaBuffer** buffer, const ReadOptions* options) {
    *buffer = nullptr;
    int64_t seekUs;
    ReadOptions::SeekMode mode;
    bool seeks = options != nullptr && options->getSeekTo(&seekUs, &mode);
    std::optional<Sample> sample = seeks ? seek(seekUs) : nextSample();
    return sample ? deliver(*sample, buffer) : android::ERROR_END_OF_STREAM;
}

android::status_t RecoveringReader::deliver(const Sample& sample, android::MediaBuffer** buffer) {
    const size_t size = sample.unit.dataSize - sample.header.size;
    auto* made = new android::MediaBuffer(size);
    ssize_t count = made->data() == nullptr ? -1
                                            : mSource->readAt(sample.unit.dataOffset() + sample.header.size,
                                                              made->data(), size);
    if (count < static_cast<ssize_t>(size)) {
        made->release();
        return android::ERROR_END_OF_STREAM;
    }
    made->meta_data()->setInt64(android::kKeyTime, sample.presentationUs());
    made->meta_data()->setInt32(android::kKeyIsSyncFrame, sample.isSync() ? 1 : 0);
    *buffer = made;
    return android::OK;
}

std::optional<RecoveringReader::Sample> RecoveringReader::nextSample() {
    while (std::optional<WalkStep> step = mPlace.walk.next()) {
        std::optional<Sample> sample = sampleOf(*step);
        bool isWhole = step->kind == WalkStep::Kind::kTag || step->kind == WalkStep::Kind::kEmptyTag;
        bool isTaken = sample && isWanted(*sample);
        mPlace.mayHaveLost = mPlace.mayHaveLost || (!isWhole && !step->losesNoTag);
        if (isTaken) return sample;
    }
    tellLoss();
    return std::nullopt;
}

// The sample of a tag, if it is one of this stream. The clock sees those of all streams.
std::optional<RecoveringReader::Sample> RecoveringReader::sampleOf(const WalkStep& step) {
    const TagUnit& unit = step.unit;
    if (!step.isTag() || unit.dataSize == 0) return std::nullopt;
    if (unit.is(TagType::kScript) && !mPlace.hasMetadata) {
        std::optional<Metadata> metadata = ReadMetadata(ReadScript(mChain, unit));
        mPlace.hasMetadata = metadata.has_value();
        if (metadata) mPlace.clock.setDuration(metadata->durationSeconds.value_or(0));
    }
    if (!unit.is(TagType::kVideo) && !unit.is(TagType::kAudio)) return std::nullopt;
    StreamHeader header = ReadStreamHeader(unit);
    if (!header.isSample()) return std::nullopt;
    int64_t timeMs = mPlace.clock.place(unit, header.kind);
    if (!header.isSameCodec(mCodec)) return std::nullopt;
    return Sample{unit, header, timeMs};
}

// Sound is always wanted. Pictures after a hole are predicted from what is missing until a key frame comes.
bool RecoveringReader::isWanted(const Sample& sample) {
    int64_t usualMs = *std::max_element(mPlace.stepsMs.begin(), mPlace.stepsMs.end());
    bool isHole = mPlace.lastMs >= 0 && sample.timeMs - mPlace.lastMs > usualMs + 1;
    bool lost = std::exchange(mPlace.mayHaveLost, false) && isHole;
    if (!lost) takeStep(sample.timeMs);
    mPlace.lastMs = sample.timeMs;
    if (sample.isSync() || mRecovery == Recovery::kAll) {
        mPlace.waitsForKey = false;
    } else if (lost) {
        mPlace.waitsForKey = true;
    }
    if (!mPlace.waitsForKey) {
        tellLoss();
        return true;
    }
    if (mLeftOut.count++ == 0) mLeftOut.firstUs = sample.presentationUs();
    mLeftOut.lastUs = sample.presentationUs();
    return false;
}

void RecoveringReader::takeStep(int64_t timeMs) {
    if (mPlace.lastMs >= 0 && timeMs > mPlace.lastMs)
        mPlace.stepsMs[mPlace.nextStep++ % mPlace.stepsMs.size()] = timeMs - mPlace.lastMs;
}

void RecoveringReader::tellLoss() {
    if (mLeftOut.count > 0) mReport(mLeftOut);
    mLeftOut = LeftOutPictures();
}

std::optional<RecoveringReader::Sample> RecoveringReader::seek(int64_t timeUs) {
    start();
    std::optional<Sample> landing;
    std::optional<Place> after;
    while (std::optional<Sample> sample = nextSample()) {
        mLeftOut = LeftOutPictures();
        bool isPast = sample->presentationUs() > timeUs;
        if (sample->isSync() && (!isPast || !landing)) {
            landing = sample;
            after = mPlace;
        }
        if (isPast && landing && sample->timeMs * 1000 > timeUs) break;
    }
    if (after) mPlace = *after;
    return landing;
}

}  // namespace orvel
