// SPDX-License-Identifier: Apache-2.0
#include "FlvExtractor.h"
#include "Utils.h"

namespace android {

namespace {

constexpr float kConfidence = 0.9f;

}  // namespace

bool getSupportExtension(SortedVector<String8>& extensions) {
    extensions.add(String8(".flv"));
    extensions.add(String8(".f4v"));
    return true;
}

bool getMimeString(String8* mime) {
    mime->setTo(ORVEL_MEDIA_MIMETYPE_CONTAINER_FLV);
    return true;
}

bool Sniffer(const sp<DataSource>& source, String8* mime, float* confidence, sp<AMessage>* /* meta */) {
    bool ok = false;
    FlvReader::CFlv reader(source, ok);
    if (!ok) return false;
    mime->setTo(ORVEL_MEDIA_MIMETYPE_CONTAINER_FLV);
    *confidence = kConfidence;
    return true;
}

MediaExtractor* createInstance(const sp<DataSource>& source, const sp<AMessage>& /* meta */) {
    return new FlvExtractor(source);
}

}  // namespace android
