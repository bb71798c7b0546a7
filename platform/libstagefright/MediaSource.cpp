// SPDX-License-Identifier: Apache-2.0
#include <media/stagefright/MediaSource.h>

namespace android {

IMediaSource::IMediaSource() = default;

IMediaSource::~IMediaSource() = default;

BnMediaSource::~BnMediaSource() = default;

MediaSource::MediaSource() = default;

MediaSource::~MediaSource() = default;

status_t MediaSource::pause() {
    return ERROR_UNSUPPORTED;
}

status_t MediaSource::setBuffers(const Vector<MediaBuffer*>& /*buffers*/) {
    return ERROR_UNSUPPORTED;
}

status_t MediaSource::readMultiple(Vector<MediaBuffer*>* /*buffers*/, uint32_t /*maxNumBuffers*/,
                                   const ReadOptions* /*options*/) {
    return ERROR_UNSUPPORTED;
}

bool MediaSource::supportReadMultiple() {
    return false;
}

bool MediaSource::supportNonblockingRead() {
    return false;
}

}  // namespace android
