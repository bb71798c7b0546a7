// SPDX-License-Identifier: Apache-2.0
// device_figures FILE...: what the plug-in costs a device to open, play and seek each file, as two tables in
// Markdown. Heap figures hold the plug-in's blocks and those of the platform's objects that it makes.
#include <android/log.h>
#include <fcntl.h>
#include <media/stagefright/DataSource.h>
#include <media/stagefright/MediaBuffer.h>
#include <media/stagefright/MediaErrors.h>
#include <media/stagefright/MediaExtractor.h>
#include <media/stagefright/MetaData.h>
#include <media/stagefright/foundation/AMessage.h>
#include <stdio.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "HeapCounter.h"

namespace android {

// Of the plug-in's library.
MediaExtractor* createInstance(const sp<DataSource>& source, const sp<AMessage>& meta);

}  // namespace android

namespace {

using namespace android;
using orvel::HeapCounter;

constexpr int kSeeks = 10;
constexpr size_t kCacheBytes = 4096;

struct Reads {
    int below = 0, cacheful = 0, above = 0;  // by the size asked for
    size_t bytes = 0;
    size_t wasted = 0;  // bytes that an earlier read of the same phase had brought
};

// A file on storage that counts what is read of it. A read takes no heap.
class MeteredFile : public DataSource {
  public:
    MeteredFile(const char* path, uint32_t flags) : mFile(open(path, O_RDONLY | O_CLOEXEC)), mFlags(flags) {
        struct stat status {};
        if (fstat(mFile, &status) == 0) mWasRead.resize(static_cast<size_t>(status.st_size));
    }

    status_t initCheck() const override { return mFile >= 0 ? OK : NO_INIT; }
    uint32_t flags() override { return mFlags; }

    status_t getSize(off64_t* size) override {
        *size = static_cast<off64_t>(mWasRead.size());
        return OK;
    }

    ssize_t readAt(off64_t offset, void* data, size_t size) override {
        ++(size < kCacheBytes ? mReads.below : size == kCacheBytes ? mReads.cacheful : mReads.above);
        const ssize_t count = pread64(mFile, data, size, offset);
        if (count < 1) return count;
        mReads.bytes += static_cast<size_t>(count);
        const auto begin = mWasRead.begin() + offset;
        mReads.wasted += static_cast<size_t>(std::count(begin, begin + count, 1));
        std::fill(begin, begin + count, uint8_t{1});
        return count;
    }

    // What was read since the last call; a new phase begins.
    Reads takeReads() {
        std::fill(mWasRead.begin(), mWasRead.end(), uint8_t{0});
        return std::exchange(mReads, {});
    }

  protected:
    ~MeteredFile() override { close(mFile); }

  private:
    const int mFile;
    const uint32_t mFlags;
    std::vector<uint8_t> mWasRead;
    Reads mReads;
};

struct Track {
    sp<IMediaSource> source;
    int64_t timeUs = -1;  // of the sample read last; the greatest value at the end
};

struct Delivered {
    size_t samples = 0, bytes = 0, largest = 0;
};

void Read(Track* track, const IMediaSource::ReadOptions* options, Delivered* delivered) {
    MediaBuffer* buffer = nullptr;
    if (track->source->read(&buffer, options) != OK) {
        track->timeUs = std::numeric_limits<int64_t>::max();
        return;
    }
    buffer->meta_data()->findInt64(kKeyTime, &track->timeUs);
    ++delivered->samples;
    delivered->bytes += buffer->range_length();
    delivered->largest = std::max(delivered->largest, buffer->range_length());
    buffer->release();
}

// One file, opened as a player opens it.
class Session {
  public:
    Session(const char* path, uint32_t flags) : mFile(new MeteredFile(path, flags)) {
        mTracks.reserve(2);
        if (mFile->initCheck() != OK) return;
        mHeap = HeapCounter();
        mExtractor = createInstance(mFile, nullptr);
        mOpenPeak = mHeap.peak();
        mOpened = mHeap.live();
        mOpenReads = mFile->takeReads();
        for (size_t i = 0; i < mExtractor->countTracks(); ++i) {
            mTracks.push_back({mExtractor->getTrack(i)});
            mTracks.back().source->start();
        }
        mStarted = mHeap.live();
    }

    bool hasTracks() const { return !mTracks.empty(); }

    // Every sample, the track that is behind first.
    void play() {
        const size_t before = mHeap.allocations();
        for (;;) {
            Track& next =
                    *std::min_element(mTracks.begin(), mTracks.end(),
                                      [](const Track& a, const Track& b) { return a.timeUs < b.timeUs; });
            if (next.timeUs == std::numeric_limits<int64_t>::max()) break;
            Read(&next, nullptr, &mPlayed);
        }
        mPlayReads = mFile->takeReads();
        mPlayPeak = mHeap.peak();
        mBlocks = mHeap.allocations() - before;
    }

    // Back and forth over the whole duration: the first track, then the other to where the first has landed.
    void seek() {
        int64_t durationUs = 0;
        mTracks[0].source->getFormat()->findInt64(kKeyDuration, &durationUs);
        for (int i = 0; i < kSeeks; ++i) {
            int64_t timeUs = durationUs * (i * 7 % kSeeks) / kSeeks;
            for (Track& track : mTracks) {
                IMediaSource::ReadOptions options;
                options.setSeekTo(timeUs);
                Read(&track, &options, &mSought);
                timeUs = std::min(track.timeUs, durationUs);
            }
        }
        mSeekReads = mFile->takeReads();
    }

    void printHeap(const char* name) const {
        const double blocks = static_cast<double>(mBlocks) / static_cast<double>(mPlayed.samples);
        printf("| %s | %zu | %zu | %zu | %zu | %zu | %.2f |\n", name, mOpenPeak, mOpened, mStarted, mPlayPeak,
               mPlayed.largest, blocks);
    }

    void printOpenAndPlay(const char* name) const {
        printReads(name, "open", mOpenReads, 0);
        printReads("", "play", mPlayReads, mPlayed.bytes);
    }
    void printSeek(const char* phase) const { printReads("", phase, mSeekReads, mSought.bytes); }

  private:
    static void printReads(const char* name, const char* phase, const Reads& reads, size_t delivered) {
        printf("| %s | %s | %d | %d | %d | %d | %zu | %zu | %zu |\n", name, phase,
               reads.below + reads.cacheful + reads.above, reads.below, reads.cacheful, reads.above,
               reads.bytes, reads.wasted, delivered);
    }

    const sp<MeteredFile> mFile;
    std::vector<Track> mTracks;
    HeapCounter mHeap;
    sp<MediaExtractor> mExtractor;
    size_t mOpenPeak = 0, mOpened = 0, mStarted = 0, mPlayPeak = 0, mBlocks = 0;
    Reads mOpenReads, mPlayReads, mSeekReads;
    Delivered mPlayed, mSought;
};

const char* BaseName(const char* path) {
    const char* slash = strrchr(path, '/');
    return slash != nullptr ? slash + 1 : path;
}

int PrintHeap(char** paths) {
    puts("| file | opening, peak | opened | with its sources | playing, peak | largest sample | blocks a "
         "sample |");
    puts("| --- | ---: | ---: | ---: | ---: | ---: | ---: |");
    for (; *paths != nullptr; ++paths) {
        Session session(*paths, 0);
        if (!session.hasTracks()) return fprintf(stderr, "%s: no tracks\n", *paths), 1;
        session.play();
        session.printHeap(BaseName(*paths));
    }
    return 0;
}

void PrintReads(char** paths) {
    puts("\n| file | | reads | below 4096 | 4096 | above | bytes read | of them again | bytes of samples |");
    puts("| --- | --- | ---: | ---: | ---: | ---: | ---: | ---: | ---: |");
    for (; *paths != nullptr; ++paths) {
        Session local(*paths, 0);
        local.play();
        local.seek();
        local.printOpenAndPlay(BaseName(*paths));
        local.printSeek("10 seeks");
        Session caching(*paths, DataSource::kIsCachingDataSource);
        caching.seek();
        caching.printSeek("10 seeks, caching source");
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) return fputs("usage: device_figures FILE...\n", stderr), 2;
    __android_log_set_minimum_priority(ANDROID_LOG_FATAL);
    setvbuf(stdout, nullptr, _IOLBF, 0);
    if (PrintHeap(argv + 1) != 0) return 1;
    PrintReads(argv + 1);
    return 0;
}
