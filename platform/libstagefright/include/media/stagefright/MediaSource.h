// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <media/IMediaSource.h>

namespace android {

// Base of track sources. A subclass implements start, stop, getFormat and read; the rest has these defaults:
// ERROR_UNSUPPORTED, and false.
class MediaSource : public BnMediaSource {
  public:
    MediaSource();

    status_t pause() override;
    status_t setBuffers(const Vector<MediaBuffer*>& buffers) override;
    status_t readMultiple(Vector<MediaBuffer*>* buffers, uint32_t maxNumBuffers = 1,
                          const ReadOptions* options = nullptr) override;
    bool supportReadMultiple() override;
    bool supportNonblockingRead() override;

  protected:
    ~MediaSource() override;
};

}  // namespace android
