// SPDX-License-Identifier: Apache-2.0
// demux_orvel: the plug-in, loaded and read as the program does it. Beside the common operations it has
//   reads FILE    how often the plug-in reads the source while opening and while playing
#include <android/log.h>
#include <fmt/format.h>
#include <media/stagefright/MediaBuffer.h>
#include <media/stagefright/MetaData.h>
#include <stdio.h>
#include <string.h>

#include <limits>
#include <utility>

#include "Measurement.h"
#include "loader/PluginLoader.h"
#include "source/CountingSource.h"
#include "source/FileSource.h"

namespace {

using namespace android;
using namespace orvel;

const Plugin& ThePlugin() {
    static const Plugin plugin = Plugin::Load("");
    return plugin;
}

sp<DataSource> OpenFile(const char* path) {
    std::string error;
    const sp<DataSource> source = FileSource::Open(path, &error);
    if (source == nullptr) Fail(path, error.c_str());
    return source;
}

struct Track {
    sp<IMediaSource> source;
    TrackKind kind = kAudio;
    int64_t timeUs = -1;  // of the sample read last; the greatest value at the end
    bool isSync = false;
    int64_t durationUs = 0;
};

// Sniffs the source, creates the extractor and asks for the formats: all that a player does before it plays.
class Session {
  public:
    Session(const char* path, const sp<DataSource>& source) {
        if (!ThePlugin().sniff(source)) Fail(path, "not recognised");
        mExtractor = ThePlugin().createExtractor(source);
        mFormats.reserve(2);
        for (size_t i = 0; i < mExtractor->countTracks(); ++i)
            mFormats.push_back(mExtractor->getTrackMetaData(i));
    }

    std::vector<Track> start() const {
        std::vector<Track> tracks(mFormats.size());
        for (size_t i = 0; i < tracks.size(); ++i) {
            const char* mime = "";
            mFormats[i]->findCString(kKeyMIMEType, &mime);
            mFormats[i]->findInt64(kKeyDuration, &tracks[i].durationUs);
            tracks[i].kind = strncmp(mime, "video/", 6) == 0 ? kVideo : kAudio;
            tracks[i].source = mExtractor->getTrack(i);
            tracks[i].source->start();
        }
        return tracks;
    }

  private:
    sp<MediaExtractor> mExtractor;
    std::vector<sp<MetaData>> mFormats;
};

// The next sample of the track, or that after a seek; null at the end.
MediaBuffer* Read(Track* track, const IMediaSource::ReadOptions* options) {
    MediaBuffer* buffer = nullptr;
    if (track->source->read(&buffer, options) != OK) {
        track->timeUs = std::numeric_limits<int64_t>::max();
        track->isSync = false;
        return nullptr;
    }
    int32_t isSync = 0;
    const sp<MetaData> meta = buffer->meta_data();
    meta->findInt64(kKeyTime, &track->timeUs);
    meta->findInt32(kKeyIsSyncFrame, &isSync);
    track->isSync = isSync != 0;
    return buffer;
}

// Every sample, the track that is behind first, as a player reads.
Tally ReadAll(std::vector<Track>* tracks, bool withChecksums) {
    Tally tally(withChecksums);
    for (;;) {
        Track* next = &tracks->front();
        for (Track& track : *tracks)
            if (track.timeUs < next->timeUs) next = &track;
        if (next->timeUs == std::numeric_limits<int64_t>::max()) return tally;
        MediaBuffer* buffer = Read(next, nullptr);
        if (buffer == nullptr) continue;
        const auto* data = static_cast<const uint8_t*>(buffer->data()) + buffer->range_offset();
        tally.add(next->kind, data, buffer->range_length());
        tally.addTime(next->kind, next->timeUs / 1000, next->isSync);
        buffer->release();
    }
}

std::string Play(const char* path, bool withChecksums) {
    ThePlugin();
    const double begin = Now();
    const Session session(path, OpenFile(path));
    const double opened = Now();
    std::vector<Track> tracks = session.start();
    if (tracks.empty()) Fail(path, "no tracks");
    const Tally tally = ReadAll(&tracks, withChecksums);
    const double end = Now();
    return fmt::format(R"("open": {:.4g}, "read": {:.4g}, {})", opened - begin, end - opened, tally.json());
}

double Open(const char* path) {
    ThePlugin();
    const double begin = Now();
    const Session session(path, OpenFile(path));
    return Now() - begin;
}

double SeekTrack(Track* track, int64_t timeUs) {
    IMediaSource::ReadOptions options;
    options.setSeekTo(timeUs);
    const double begin = WallNow();
    MediaBuffer* buffer = Read(track, &options);
    const double took = WallNow() - begin;
    if (buffer != nullptr) buffer->release();
    return took;
}

// The video track, or the only one, and then the other one to where the first has landed.
std::string Seek(const char* path, int count) {
    const Session session(path, OpenFile(path));
    std::vector<Track> tracks = session.start();
    if (tracks.empty()) Fail(path, "no tracks");
    if (tracks.front().kind != kVideo && tracks.size() > 1) std::swap(tracks[0], tracks[1]);
    SeekTargets targets(tracks[0].durationUs);
    Landings landings;
    std::vector<double> both;
    for (int i = 0; i < count; ++i) {
        const int64_t timeUs = targets.next();
        double took = SeekTrack(&tracks[0], timeUs);
        landings.add(took, timeUs, tracks[0].timeUs, tracks[0].isSync);
        if (tracks.size() > 1) took += SeekTrack(&tracks[1], tracks[0].timeUs);
        both.push_back(took);
    }
    return fmt::format(R"({}, "both": {})", landings.json(), JsonList(both));
}

int PrintReads(const char* path) {
    const sp<CountingSource> source = new CountingSource(OpenFile(path));
    const Session session(path, source);
    const ReadCount opened = source->count();
    std::vector<Track> tracks = session.start();
    const Tally tally = ReadAll(&tracks, false);
    const ReadCount played = source->count();
    const std::string line = fmt::format(
            R"({{"open_calls": {}, "open_bytes": {}, "play_calls": {}, "play_bytes": {}, {}}})", opened.calls,
            opened.bytes, played.calls - opened.calls, played.bytes - opened.bytes, tally.json());
    puts(line.c_str());
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    __android_log_set_minimum_priority(ANDROID_LOG_FATAL);
    if (argc == 3 && strcmp(argv[1], "reads") == 0) return PrintReads(argv[2]);
    return RunMeasurement(argc, argv, {Play, Open, Seek});
}
