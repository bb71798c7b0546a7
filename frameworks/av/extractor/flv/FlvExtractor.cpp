// SPDX-License-Identifier: Apache-2.0
#define LOG_TAG "FlvExtractor"

#include "FlvExtractor.h"

#include <log/log.h>
#include <string.h>
#include <strings.h>

#include "FlvSource.h"
#include "Utils.h"

namespace android {

using FlvReader::kTrackAudio;
using FlvReader::kTrackVideo;

namespace {

constexpr char kVideoPrefix[] = "video/";
constexpr uint32_t kThumbnailDivisor = 4;
constexpr int64_t kMicrosecondsPerMillisecond = 1000;

}  // namespace

FlvExtractor::FlvExtractor(const sp<DataSource>& source) : mFlv(nullptr), mFoundThumbnails(false) {
    bool ok = false;
    mFlv = new FlvReader::CFlv(source, ok);
    if (ok) addTracks();
}

FlvExtractor::~FlvExtractor() {
    delete mFlv;
    mFlv = nullptr;
}

size_t FlvExtractor::countTracks() {
    return mTracks.size();
}

sp<IMediaSource> FlvExtractor::getTrack(size_t index) {
    if (index >= mTracks.size()) return nullptr;
    return new FlvSource(this, index, &mLock);
}

sp<MetaData> FlvExtractor::getTrackMetaData(size_t index, uint32_t flags) {
    if (index >= mTracks.size()) return nullptr;
    Mutex::Autolock autoLock(mFormatLock);
    if ((flags & kIncludeExtensiveMetaData) && !mFoundThumbnails) {
        findThumbnails();
        mFoundThumbnails = true;
    }
    return mTracks[index].mMeta;
}

sp<MetaData> FlvExtractor::format(size_t index) {
    Mutex::Autolock autoLock(mFormatLock);
    return mTracks[index].mMeta;
}

sp<MetaData> FlvExtractor::getMetaData() {
    sp<MetaData> meta = new MetaData;
    meta->setCString(kKeyMIMEType, ORVEL_MEDIA_MIMETYPE_CONTAINER_FLV);
    return meta;
}

void FlvExtractor::addTracks() {
    addTrack(kTrackVideo, mFlv->mVideoStartPos, makeVideoFormat());
    addTrack(kTrackAudio, mFlv->mAudioStartPos, makeAudioFormat());
}

// Adds no row for a stream without a format.
void FlvExtractor::addTrack(FlvReader::TrackType type, int64_t startPos, const sp<MetaData>& format) {
    if (format == nullptr) return;
    format->setInt64(kKeyDuration, mFlv->mDuration * kMicrosecondsPerMillisecond);
    mTracks.push({startPos, type, format});
}

// Null when the stream's codec has no MIME type.
sp<MetaData> FlvExtractor::makeVideoFormat() {
    unsigned int codecId = 0;
    const char* mime = GetMimeType(mFlv->GetStreamFormatType(kTrackVideo), &codecId);
    if (mime == nullptr) return nullptr;
    const uint8_t* configuration = mFlv->getTrackDecoderSpecificInfoContent(kTrackVideo);
    const uint32_t size = mFlv->getTrackDecoderSpecificInfoSize(kTrackVideo);
    sp<MetaData> format = new MetaData;
    format->setCString(kKeyMIMEType, mime);
    format->setInt32(kKeyWidth, mFlv->mWidth);
    format->setInt32(kKeyHeight, mFlv->mHeight);
    if (strcmp(mime, ORVEL_MEDIA_MIMETYPE_VIDEO_AVC) == 0) {
        format->setData(kKeyAVCC, 0, configuration, size);
    } else if (strcmp(mime, ORVEL_MEDIA_MIMETYPE_VIDEO_HEVC) == 0) {
        format->setData(kKeyHVCC, 0, configuration, size);
    } else {
        if (codecId != 0) format->setInt32(kKeyCodecId, static_cast<int32_t>(codecId));
        AddESDSFromSpecificInfo(format, configuration, size);
    }
    return format;
}

// Null when the stream's codec has no MIME type.
sp<MetaData> FlvExtractor::makeAudioFormat() {
    unsigned int codecId = 0;
    const char* mime = GetMimeType(mFlv->GetStreamFormatType(kTrackAudio), &codecId);
    if (mime == nullptr) return nullptr;
    sp<MetaData> format = new MetaData;
    format->setCString(kKeyMIMEType, mime);
    format->setInt32(kKeySampleRate, static_cast<int32_t>(mFlv->mSampleRate));
    format->setInt32(kKeyChannelCount, mFlv->mStereo ? 2 : 1);
    AddESDSFromSpecificInfo(format, mFlv->getTrackDecoderSpecificInfoContent(kTrackAudio),
                            mFlv->getTrackDecoderSpecificInfoSize(kTrackAudio));
    return format;
}

// A format that has been handed out is read by its holders without any lock, so the time goes into a copy
// that takes its place. The lock is one of its own: readers hold the other across reads of the source.
void FlvExtractor::findThumbnails() {
    for (TrackInfo& track : mTracks) {
        const char* mime;
        if (!track.mMeta->findCString(kKeyMIMEType, &mime)) {
            __android_log_assert("info->mMeta->findCString(kKeyMIMEType, &mime)", LOG_TAG, "%s",
                                 "frameworks/av/extractor/flv/FlvExtractor:620 "
                                 "CHECK(info->mMeta->findCString(kKeyMIMEType, &mime)) failed.");
        }
        if (strncasecmp(mime, kVideoPrefix, sizeof(kVideoPrefix) - 1) != 0) continue;
        const uint32_t thumbnailMs = mFlv->mDuration / kThumbnailDivisor;
        const sp<MetaData> format = new MetaData(*track.mMeta);
        format->setInt64(kKeyThumbnailTime, thumbnailMs * kMicrosecondsPerMillisecond);
        track.mMeta = format;
        return;
    }
}

}  // namespace android
