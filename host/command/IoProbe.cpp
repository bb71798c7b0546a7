// SPDX-License-Identifier: Apache-2.0
#include "command/IoProbe.h"

#include <algorithm>
#include <iterator>
#include <map>

namespace orvel {
namespace {

constexpr size_t kCacheSize = 4096;
constexpr int64_t kSeeks = 10;

// Stretches of a file, kept apart and in order.
class Spans {
  public:
    // Adds [begin, end); the result is how many of its bytes were there already.
    int64_t add(int64_t begin, int64_t end) {
        int64_t known = 0;
        int64_t from = begin, to = end;
        auto span = mEnds.upper_bound(begin);
        if (span != mEnds.begin() && std::prev(span)->second >= begin) --span;
        while (span != mEnds.end() && span->first <= end) {
            known += std::max<int64_t>(0, std::min(end, span->second) - std::max(begin, span->first));
            from = std::min(from, span->first);
            to = std::max(to, span->second);
            span = mEnds.erase(span);
        }
        mEnds[from] = to;
        return known;
    }

  private:
    std::map<int64_t, int64_t> mEnds;  // by their beginnings
};

// Another source, with its reads entered into a phase.
class MeteredSource : public android::DataSource {
  public:
    explicit MeteredSource(const android::sp<android::DataSource>& source) : mSource(source) {}

    void begin(IoPhase* phase) {
        mPhase = phase;
        mSeen = Spans();
    }

    android::status_t initCheck() const override { return mSource->initCheck(); }
    android::status_t getSize(off64_t* size) override { return mSource->getSize(size); }
    uint32_t flags() override { return mSource->flags(); }

    ssize_t readAt(off64_t offset, void* data, size_t size) override {
        ssize_t delivered = mSource->readAt(offset, data, size);
        ++mPhase->reads;
        ++(size < kCacheSize ? mPhase->below4096 : size == kCacheSize ? mPhase->of4096 : mPhase->above4096);
        if (delivered > 0) {
            mPhase->bytes += delivered;
            mPhase->bytesAgain += mSeen.add(offset, offset + delivered);
        }
        return delivered;
    }

  private:
    const android::sp<android::DataSource> mSource;
    IoPhase* mPhase = nullptr;
    Spans mSeen;
};

std::vector<TrackReader> OpenTracks(android::MediaExtractor& extractor) {
    std::vector<TrackReader> readers;
    for (size_t i = 0; i < extractor.countTracks(); ++i)
        readers.emplace_back(extractor.getTrack(i));
    return readers;
}

void Play(android::MediaExtractor& extractor, IoPhase* phase) {
    Interleaver samples(OpenTracks(extractor), std::nullopt);
    while (auto turn = samples.next())
        phase->sampleBytes += static_cast<int64_t>(turn->sample->bytes.size);
}

// 0, 3, 6, 9, 2 ... tenths of the duration.
void SeekAround(android::MediaExtractor& extractor, int64_t durationUs, IoPhase* phase) {
    std::vector<TrackReader> readers = OpenTracks(extractor);
    for (int64_t i = 0; i < kSeeks; ++i) {
        for (TrackReader& reader : readers) {
            if (!reader.seek(durationUs / kSeeks * (3 * i % kSeeks))) continue;
            phase->sampleBytes += static_cast<int64_t>(reader.sample().bytes.size);
        }
    }
}

}  // namespace

std::vector<IoPhase> ProbeIo(const Plugin& plugin, const Input& input) {
    std::vector<IoPhase> phases = {{"sniff"}, {"open"}, {"play"}, {"seek"}};
    android::sp<MeteredSource> source = new MeteredSource(input.source().inner());
    source->begin(&phases[0]);
    plugin.sniff(source);
    source->begin(&phases[1]);
    android::sp<android::MediaExtractor> extractor = plugin.createExtractor(source);
    source->begin(&phases[2]);
    Play(*extractor, &phases[2]);
    source->begin(&phases[3]);
    SeekAround(*extractor, input.durationUs(), &phases[3]);
    return phases;
}

}  // namespace orvel
