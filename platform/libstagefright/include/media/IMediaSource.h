// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>

#include <media/stagefright/MediaBuffer.h>
#include <media/stagefright/MediaErrors.h>
#include <media/stagefright/MetaData.h>
#include <utils/RefBase.h>
#include <utils/Vector.h>

namespace android {

// One track as a stream of access units. The caller starts it, reads until an error, and stops it.
class IMediaSource : public virtual RefBase {
  public:
    // What one read is asked for beside the next access unit: at present, a time to go to first.
    class ReadOptions {
      public:
        // Which sync sample a seek should land on; CLOSEST is the sample at the time itself.
        enum SeekMode : int32_t {
            SEEK_PREVIOUS_SYNC,
            SEEK_NEXT_SYNC,
            SEEK_CLOSEST_SYNC,
            SEEK_CLOSEST,
        };

        ReadOptions() { reset(); }

        // No requests.
        void reset() {
            mHasSeek = false;
            mSeekMode = SEEK_CLOSEST_SYNC;
            mSeekTimeUs = 0;
        }

        // Requests a seek to a time in microseconds before the read.
        void setSeekTo(int64_t timeUs, SeekMode mode = SEEK_CLOSEST_SYNC) {
            mHasSeek = true;
            mSeekMode = mode;
            mSeekTimeUs = timeUs;
        }

        void clearSeekTo() { reset(); }

        // Whether a seek is requested. Both results are stored in either case: 0 and SEEK_CLOSEST_SYNC
        // without a request.
        bool getSeekTo(int64_t* timeUs, SeekMode* mode) const {
            *timeUs = mSeekTimeUs;
            *mode = mSeekMode;
            return mHasSeek;
        }

      private:
        bool mHasSeek;
        SeekMode mSeekMode;
        int64_t mSeekTimeUs;
    };

    IMediaSource();

    // Must precede read; stop must follow. params may be null.
    virtual status_t start(MetaData* params = nullptr) = 0;
    virtual status_t stop() = 0;

    // The track's format, shared with the source: not to be changed.
    virtual sp<MetaData> getFormat() = 0;

    // The next access unit, which the caller owns and release()s. On any status but OK, *buffer is null;
    // ERROR_END_OF_STREAM at the end. options may be null.
    virtual status_t read(MediaBuffer** buffer, const ReadOptions* options = nullptr) = 0;

    // Suspends what the source does in advance; the next read resumes it.
    virtual status_t pause() = 0;

    // Hands the source buffers to fill instead of its own.
    virtual status_t setBuffers(const Vector<MediaBuffer*>& buffers) = 0;

    // As read, for up to maxNumBuffers access units at once; only where supportReadMultiple is true.
    virtual status_t readMultiple(Vector<MediaBuffer*>* buffers, uint32_t maxNumBuffers = 1,
                                  const ReadOptions* options = nullptr) = 0;
    virtual bool supportReadMultiple() = 0;

    // Whether read can return WOULD_BLOCK instead of waiting.
    virtual bool supportNonblockingRead() = 0;

  protected:
    ~IMediaSource() override;
};

// The side that implements the interface, where the platform adds the transport between processes. Subclass
// MediaSource instead.
class BnMediaSource : public IMediaSource {
  protected:
    ~BnMediaSource() override;
};

}  // namespace android
