// SPDX-License-Identifier: Apache-2.0
#include <media/IMediaSource.h>
#include <media/stagefright/MediaBuffer.h>

#include <chrono>

#include "FlvExtractor.h"
#include "FlvReader.h"
#include "HostileShapes.h"

namespace orvel {

namespace {

using namespace android;

constexpr int kPlaces = 8;
constexpr double kRefill = 1.0 / FlvReader::FlvFile::kCacheBytes;
constexpr int64_t kLongestMs = 1 << 20;

// Also what a seek or a read delivered nothing for: only the cost counts here.
bool Read(const sp<IMediaSource>& source, const IMediaSource::ReadOptions& options) {
    MediaBuffer* buffer = nullptr;
    if (source->read(&buffer, &options) != OK) return false;
    buffer->release();
    return true;
}

struct Player {
    explicit Player(const sp<DataSource>& source) : extractor(createInstance(source, nullptr)) {
        for (size_t i = 0; i < extractor->countTracks(); ++i) {
            tracks.push_back(extractor->getTrack(i));
            tracks.back()->start();
        }
    }

    void play() {
        for (bool more = true; more;) {
            more = false;
            for (const auto& track : tracks)
                more = Read(track, {}) || more;
        }
    }

    sp<MediaExtractor> extractor;
    std::vector<sp<IMediaSource>> tracks;
};

// What the work costs beyond what came before it.
template <typename Work>
Cost Measure(MeteredSource& source, Work work) {
    using Clock = std::chrono::steady_clock;
    const uint64_t reads = source.reads(), bytes = source.bytesRead();
    const auto start = Clock::now();
    work();
    const std::chrono::duration<double> time = Clock::now() - start;
    return {source.reads() - reads, source.bytesRead() - bytes, time.count()};
}

Cost OpenCost(const std::vector<uint8_t>& file) {
    const sp<MeteredSource> source = new MeteredSource(file);
    return Measure(*source, [&] { Player player(source); });
}

Cost PlayCost(const std::vector<uint8_t>& file) {
    const sp<MeteredSource> source = new MeteredSource(file);
    Player player(source);
    return Measure(*source, [&] { player.play(); });
}

void Raise(Cost* most, const Cost& cost) {
    most->reads = std::max(most->reads, cost.reads);
    most->bytes = std::max(most->bytes, cost.bytes);
    most->seconds = std::max(most->seconds, cost.seconds);
}

template <uint32_t flags>
Cost SyncCost(const std::vector<uint8_t>& file) {
    const sp<MeteredSource> source = new MeteredSource(file, flags);
    bool ok = false;
    FlvReader::CFlv reader(source, ok);
    Cost most;
    for (size_t place = 0; place < kPlaces; ++place) {
        auto position = static_cast<long>(file.size() / kPlaces * place);
        Raise(&most, Measure(*source, [&] { reader.Sync(position); }));
    }
    return most;
}

// The times double, so that some of them fall into any file.
template <uint32_t flags>
Cost SeekCost(const std::vector<uint8_t>& file) {
    const sp<MeteredSource> source = new MeteredSource(file, flags);
    Player player(source);
    Cost most;
    for (int64_t timeMs = kLongestMs; timeMs > 0; timeMs /= 2) {
        IMediaSource::ReadOptions options;
        options.setSeekTo(timeMs * 1000);
        for (const auto& track : player.tracks)
            Raise(&most, Measure(*source, [&] { Read(track, options); }));
    }
    return most;
}

}  // namespace

const std::vector<Deed>& Deeds() {
    static const std::vector<Deed> deeds = {
            {"open", OpenCost, kRefill, 1},
            {"play", PlayCost, 2 * kRefill, 2},
            {"sync", SyncCost<0>, 1 + kRefill, 16},
            {"sync, caching", SyncCost<DataSource::kIsCachingDataSource>, 1 + kRefill, 16},
            {"seek", SeekCost<0>, kRefill, 1},
            {"seek, caching", SeekCost<DataSource::kIsCachingDataSource>, kRefill, 1},
    };
    return deeds;
}

Growth GrowthOf(const Deed& deed, const Cost& before, const Cost& after, size_t sizeBefore) {
    const auto size = static_cast<double>(sizeBefore);
    return {static_cast<double>(after.reads) /
                    std::max(static_cast<double>(before.reads), deed.readsPerByte * size),
            static_cast<double>(after.bytes) /
                    std::max(static_cast<double>(before.bytes), deed.bytesPerByte * size)};
}

}  // namespace orvel
