// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <media/IMediaExtractor.h>

namespace android {

// Base of container extractors. A subclass implements countTracks, getTrack and getTrackMetaData; the rest
// has these defaults: an empty description, all four Flags, and the name "<unspecified>".
class MediaExtractor : public BnMediaExtractor {
  public:
    sp<MetaData> getMetaData() override;
    uint32_t flags() const override;
    const char* name() override;

  protected:
    MediaExtractor();
    ~MediaExtractor() override;
};

}  // namespace android
