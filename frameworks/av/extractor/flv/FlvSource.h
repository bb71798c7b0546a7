// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <media/stagefright/MediaBuffer.h>
#include <media/stagefright/MediaSource.h>
#include <media/stagefright/MetaData.h>
#include <utils/Mutex.h>
#include <utils/StrongPointer.h>
#include <utils/Vector.h>

#include "FlvExtractor.h"
#include "FlvReader.h"

namespace android {

// One track: each read delivers one access unit, which is one tag's data without its codec header bytes.
//
// All sources of an extractor share its reader, so each keeps its own position and every access to the file
// is made under the extractor's mutex and begins with a seek of the reader. Any failure of a read is reported
// as ERROR_END_OF_STREAM and logs nothing.
class FlvSource : public MediaSource {
  public:
    // lock is the extractor's and outlives the source with it.
    FlvSource(const sp<FlvExtractor>& extractor, size_t trackIndex, Mutex* lock);

    // Rewinds to the track's first sample. params are ignored. Always OK.
    status_t start(MetaData* params = nullptr) override;
    status_t stop() override;

    // The track's format, shared with the extractor's table.
    sp<MetaData> getFormat() override;

    // The next access unit, or with a seek in the options the one that the seek lands on (every mode lands
    // alike). OK with a new buffer that the caller releases, holding kKeyTime (microseconds) and
    // kKeyIsSyncFrame; otherwise ERROR_END_OF_STREAM with *buffer null. An AVC access unit comes with 4-byte
    // start codes (H.264 Annex B), an HEVC one as stored.
    status_t read(MediaBuffer** buffer, const ReadOptions* options = nullptr) override;

    // The following operations do not lock: their caller holds the mutex.

    // Locates the next sample, or with backward the previous one (at the track's start the first one again),
    // and records it as the current sample. False at the end of the stream. A step back over a broken chain
    // of PreviousTagSize fields returns to the track's start, records nothing and is true.
    bool advance(bool backward);

    // Back to the state after start.
    void reset();

    // The time in microseconds of the largest of the first 20 sync samples; 0 when there is none. Moves the
    // position.
    int64_t findThumbnailTimeUs();

    // Records the sample to deliver for a time in microseconds, or sets the end of the stream.
    void seekToTime(int64_t timeUs);

    // The file position of the indexed key frame for a time in microseconds; -1 when the index has no answer.
    int64_t getPosForTime(int64_t timeUs);

  protected:
    ~FlvSource() override;

  private:
    typedef int (*PreprocessFunction)(unsigned char* data, int length);

    // What a tag turned out to be for this track.
    enum class Unit { kSample, kSkipped, kUnreadable };

    // What a step back came to: the sample before, the track's first sample, nothing because the chain of
    // PreviousTagSize fields is broken, or the end of the stream.
    enum class Step { kSample, kAtStart, kBroken, kEnd };

    const FlvExtractor::TrackInfo& track() const;

    // Reading: FlvSource.cpp.
    bool readTagAt(int64_t slot);
    int64_t currentSlot() const;
    int64_t bytesLeftInTag() const;
    Unit examineTag();
    Unit examineAudioTag();
    Unit examineVideoTag();
    Unit examineVideoPayload(const FlvReader::VideoTag& header);
    Unit recordSample(bool isSync);
    struct BackOff;

    // False at the end of the stream or, without ending it, where an earlier pass of a seek went on.
    bool advanceForward(BackOff* backOff);
    bool endStream();
    Step stepBack();
    status_t deliver(MediaBuffer** buffer);
    void preprocess(MediaBuffer* buffer);

    // Seeking: FlvSeek.cpp.
    enum class Pass { kDone, kTooLate };

    bool seekByIndex(int64_t position);
    bool recordIndexedVideoTag();
    int64_t estimatePosition(int64_t targetMs) const;
    void seekSlowly(int64_t targetMs, int64_t estimate);
    bool synchronise(int64_t* estimate);
    bool plainScan(int64_t targetMs);
    bool isEarlyEnough(int64_t targetMs) const;
    void backOffScan(BackOff* backOff, int64_t estimate);
    Pass scanPass(BackOff* backOff);
    bool joinsEarlierPass(BackOff* backOff) const;

    sp<FlvExtractor> mExtractor;
    FlvReader::CFlv& mReader;   // the extractor's
    FlvReader::FlvFile& mFile;  // the reader's
    const size_t mTrackIndex;
    const bool mIsAudio;
    bool mReachedEOS;
    Mutex* mLock;
    int64_t mCurrentPos;  // slot of the next tag to examine
    bool mIsSyncFrame;    // of the current sample, as are the next two
    int64_t mPayloadPos;
    int64_t mPayloadSize;
    FlvReader::Tag mTag;  // the tag read last; its timestamp includes the composition time
    Vector<double> mKeyFramePositions;
    Vector<double> mKeyFrameTimes;
    PreprocessFunction mPreprocess;  // null until an AVC track's first sample decides
};

}  // namespace android
