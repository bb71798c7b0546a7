// SPDX-License-Identifier: Apache-2.0
#include <media/stagefright/MediaExtractor.h>

namespace android {

IMediaExtractor::IMediaExtractor() = default;

IMediaExtractor::~IMediaExtractor() = default;

BnMediaExtractor::~BnMediaExtractor() = default;

MediaExtractor::MediaExtractor() = default;

MediaExtractor::~MediaExtractor() = default;

sp<MetaData> MediaExtractor::getMetaData() {
    return new MetaData;
}

uint32_t MediaExtractor::flags() const {
    return CAN_SEEK_BACKWARD | CAN_SEEK_FORWARD | CAN_PAUSE | CAN_SEEK;
}

const char* MediaExtractor::name() {
    return "<unspecified>";
}

}  // namespace android
