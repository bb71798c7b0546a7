// SPDX-License-Identifier: Apache-2.0
// A whole file through the plug-in's entry points: sniffed, opened, both tracks read and sought in, from a
// local source and from one that caches.
#include "FlvExtractor.h"
#include "support/Allocations.h"
#include "support/ByteSource.h"
#include "support/FlvMutator.h"
#include "support/Samples.h"

using namespace android;
using namespace orvel;

namespace {

constexpr size_t kReadBytes = 1024;  // what a read may hold beside the sample and the copy made of it here

// Every tag that a walk finds is delivered, and nothing else. Result: the times in microseconds.
std::vector<int64_t> CheckPlaying(const Track& track, ByteSpan file, int64_t startSlot) {
    std::vector<int64_t> times;
    for (const FlvTag& tag : TagsFrom(file, startSlot)) {
        if (tag.data.size == 0) break;
        if (!IsDelivered(tag, track.isAudio)) continue;
        const auto sample = ReadWithin(2 * tag.data.size + kReadBytes, track);
        Require(sample && IsSame(*sample, *SampleOf(tag, track.isAudio), track), "each tag is delivered");
        times.push_back(sample->timeUs);
    }
    Require(!ReadSample(track), "nothing is delivered behind the last tag");
    return times;
}

void CheckSeeking(const Track& track, ByteSpan file, const std::vector<int64_t>& played, int64_t durationUs) {
    std::vector<int64_t> times = {0, 1, durationUs / 2, durationUs, INT64_MAX};
    for (size_t i = 0; i < played.size(); i += 1 + played.size() / 4)
        times.insert(times.end(), {played[i], played[i] + 600});
    const SamplesAnywhere anywhere(file, track);
    for (size_t i = 0; i < times.size(); ++i) {
        IMediaSource::ReadOptions options;
        options.setSeekTo(times[i], static_cast<IMediaSource::ReadOptions::SeekMode>(i % 4));
        const auto landed = ReadSample(track, &options);
        Require(!landed || anywhere.contains(*landed), "a seek lands on a sample of the file");
        const auto next = ReadSample(track);
        Require(!next || anywhere.contains(*next), "playing goes on behind a seek");
        options.setSeekTo(times[i]);
        Require(ReadSample(track, &options) == landed, "a seek lands alike in every mode");
    }
}

void CheckFile(ByteSpan file, uint32_t flags) {
    const sp<ByteSource> source = new ByteSource(file, flags);
    bool ok = false;
    FlvReader::CFlv reader(source, ok);
    Require(source->reads() <= 2 * file.size + 16, "opening costs reads in proportion");
    String8 mime;
    float confidence = 0;
    Require(Sniffer(source, &mime, &confidence, nullptr) == ok, "the sniffer claims what can be opened");
    std::optional<AllocationBudget> budget(std::in_place, OpeningBudget(file.size));
    const sp<MediaExtractor> extractor = createInstance(source, nullptr);
    budget.reset();
    for (size_t i = 0; i < extractor->countTracks(); ++i) {
        int64_t durationUs = -1;
        extractor->getTrackMetaData(i, IMediaExtractor::kIncludeExtensiveMetaData)
                ->findInt64(kKeyDuration, &durationUs);
        Require(durationUs >= 0, "a track has a duration");
        const Track track(extractor->getTrack(i));
        const int64_t slot = track.isAudio ? reader.mAudioStartPos : reader.mVideoStartPos;
        CheckSeeking(track, file, CheckPlaying(track, file, slot), durationUs);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    CheckFile(ByteSpan(data, size), 0);
    CheckFile(ByteSpan(data, size), DataSource::kIsCachingDataSource);
    return 0;
}

extern "C" size_t LLVMFuzzerCustomMutator(uint8_t* data, size_t size, size_t maxSize, unsigned seed) {
    return MutateFlv(data, size, maxSize, seed);
}
