// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <media/IMediaSource.h>
#include <media/stagefright/MetaData.h>
#include <utils/RefBase.h>

namespace android {

// One opened container: its tracks by index, from 0 to countTracks() - 1.
class IMediaExtractor : public virtual RefBase {
  public:
    // What flags() may report, as bits.
    enum Flags {
        CAN_SEEK_BACKWARD = 1,
        CAN_SEEK_FORWARD = 2,
        CAN_PAUSE = 4,
        CAN_SEEK = 8,
    };

    // Bits for getTrackMetaData.
    enum GetTrackMetaDataFlags {
        // Also what is costly to find out, such as the thumbnail's time.
        kIncludeExtensiveMetaData = 1,
    };

    IMediaExtractor();

    virtual size_t countTracks() = 0;

    // A new source for a track, which keeps whatever it needs of the extractor alive; or null.
    virtual sp<IMediaSource> getTrack(size_t index) = 0;

    // A track's format, or null when there is no such track.
    virtual sp<MetaData> getTrackMetaData(size_t index, uint32_t flags = 0) = 0;

    // The container's description: at least kKeyMIMEType where the container is known.
    virtual sp<MetaData> getMetaData() = 0;

    virtual uint32_t flags() const = 0;

    // The extractor's name for people; a static string.
    virtual const char* name() = 0;

  protected:
    ~IMediaExtractor() override;
};

// The side that implements the interface, where the platform adds the transport between processes. Subclass
// MediaExtractor instead.
class BnMediaExtractor : public IMediaExtractor {
  protected:
    ~BnMediaExtractor() override;
};

}  // namespace android
