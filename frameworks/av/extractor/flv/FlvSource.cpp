// SPDX-License-Identifier: Apache-2.0
#define LOG_TAG "FlvExtractor"

#include "FlvSource.h"

#include <log/log.h>
#include <media/stagefright/MediaErrors.h>
#include <strings.h>

#include "Utils.h"

namespace android {

using FlvReader::AudioTag;
using FlvReader::CFlv;
using FlvReader::FlvFile;
using FlvReader::VideoTag;

namespace {

constexpr int kThumbnailCandidates = 20;
constexpr int64_t kMicrosecondsPerMillisecond = 1000;

// Codec header bytes between the video header and the payload.
constexpr int64_t kVp6HeaderBytes = 1;       // adjustment
constexpr int64_t kVp6AlphaHeaderBytes = 4;  // adjustment and alpha offset
constexpr int64_t kCompositionTimeBytes = 3;
constexpr uint32_t kCompositionTimeSign = 0x800000;

}  // namespace

FlvSource::FlvSource(const sp<FlvExtractor>& extractor, size_t trackIndex, Mutex* lock)
    : mExtractor(extractor),
      mReader(*extractor->mFlv),
      mFile(*mReader.mFile),
      mTrackIndex(trackIndex),
      mIsAudio(track().mType == FlvReader::kTrackAudio),
      mReachedEOS(false),
      mLock(lock),
      mCurrentPos(extractor->mTracks[trackIndex].mStartPos),
      mIsSyncFrame(false),
      mPayloadPos(0),
      mPayloadSize(0),
      mTag(),
      mKeyFramePositions(mReader.mKeyFramePositions),
      mKeyFrameTimes(mReader.mKeyFrameTimes),
      mPreprocess(nullptr) {
    ALOGD("mKeyFramePositions=%zu, mKeyFrameTimes=%zu", mKeyFramePositions.size(), mKeyFrameTimes.size());
    const sp<MetaData> format = mExtractor->format(mTrackIndex);
    int32_t width;
    const char* mime = "";
    if (!format->findInt32(kKeyWidth, &width)) {
        mPreprocess = H264DataPreprocess_IEC;
        return;
    }
    format->findCString(kKeyMIMEType, &mime);
    ALOGE("video source create...mime = %s", mime);
    if (strcasecmp(mime, ORVEL_MEDIA_MIMETYPE_VIDEO_AVC) != 0) mPreprocess = H264DataPreprocess_IEC;
}

FlvSource::~FlvSource() {
    mKeyFramePositions.clear();
    mKeyFrameTimes.clear();
}

const FlvExtractor::TrackInfo& FlvSource::track() const {
    return mExtractor->mTracks[mTrackIndex];
}

status_t FlvSource::start(MetaData* /* params */) {
    Mutex::Autolock autoLock(mLock);
    reset();
    return OK;
}

status_t FlvSource::stop() {
    Mutex::Autolock autoLock(mLock);
    return OK;
}

sp<MetaData> FlvSource::getFormat() {
    Mutex::Autolock autoLock(mLock);
    return mExtractor->format(mTrackIndex);
}

void FlvSource::reset() {
    mReachedEOS = false;
    mCurrentPos = track().mStartPos;
}

status_t FlvSource::read(MediaBuffer** buffer, const ReadOptions* options) {
    Mutex::Autolock autoLock(mLock);
    *buffer = nullptr;
    int64_t seekTimeUs;
    ReadOptions::SeekMode mode;
    if (options != nullptr && options->getSeekTo(&seekTimeUs, &mode)) {
        seekToTime(seekTimeUs);
        if (mReachedEOS) return ERROR_END_OF_STREAM;
    } else if (mReachedEOS || !advance(false)) {
        return ERROR_END_OF_STREAM;
    }
    return deliver(buffer);
}

// The size of the buffer has been compared with the bytes of the file where the tag header was read. Of
// a payload that the source delivers only in part nothing is delivered: half an access unit does more harm in
// a decoder than a missing one.
status_t FlvSource::deliver(MediaBuffer** buffer) {
    const auto size = static_cast<size_t>(mPayloadSize);
    MediaBuffer* sample = new MediaBuffer(size);
    auto* data = static_cast<uint8_t*>(sample->data());
    const sp<MetaData> meta = sample->meta_data();
    meta->setInt64(kKeyTime, mTag.mTimestamp * kMicrosecondsPerMillisecond);
    meta->setInt32(kKeyIsSyncFrame, mIsSyncFrame ? 1 : 0);
    mFile.ByteSeek(mPayloadPos);
    // A media process with a memory limit may get a buffer without memory.
    if (data == nullptr || mFile.ReadFully(data, size) < size) {
        sample->release();
        return ERROR_END_OF_STREAM;
    }
    preprocess(sample);  // the range is the whole buffer, as it was made
    *buffer = sample;
    return OK;
}

void FlvSource::preprocess(MediaBuffer* buffer) {
    auto* data = static_cast<uint8_t*>(buffer->data());
    const int length = static_cast<int>(buffer->range_length());
    if (mPreprocess == nullptr) {
        mPreprocess = CheckH264Type(data, length) == 0 ? H264DataPreprocess_IEC : H264DataPreprocess_AVC;
    }
    const int prepared = mPreprocess(data, length);
    if (prepared != length && prepared >= 1) buffer->set_range(0, static_cast<size_t>(prepared));
}

bool FlvSource::readTagAt(int64_t slot) {
    mFile.ByteSeek(slot);
    return mReader.ReadTag(mTag);
}

// The slot of the tag whose end is mCurrentPos.
int64_t FlvSource::currentSlot() const {
    return mCurrentPos - FlvReader::kTagUnitHeaderBytes - mTag.mDataSize;
}

int64_t FlvSource::bytesLeftInTag() const {
    return mCurrentPos - mFile.mOffset;
}

bool FlvSource::advance(bool backward) {
    return backward ? stepBack() != Step::kEnd : advanceForward(nullptr);
}

bool FlvSource::advanceForward(BackOff* backOff) {
    while (backOff == nullptr || !joinsEarlierPass(backOff)) {
        if (!readTagAt(mCurrentPos) || mTag.mDataSize == 0) return endStream();
        mCurrentPos = mFile.mOffset + mTag.mDataSize;
        const Unit unit = examineTag();
        if (unit == Unit::kSample) return true;
        if (unit == Unit::kUnreadable) return endStream();
    }
    return false;
}

bool FlvSource::endStream() {
    mReachedEOS = true;
    return false;
}

// A tag is the one before another only when it ends where that one begins. Taking a PreviousTagSize field's
// word for it could lead into the middle of a tag, or forward, and around in a circle.
FlvSource::Step FlvSource::stepBack() {
    const FlvReader::Tag steppedFrom = mTag;
    for (;;) {
        const bool fresh = mTag.mDataSize == 0;  // no tag has been read yet: there is none to step back from
        const int64_t end = fresh ? mCurrentPos : currentSlot();
        if (!fresh) mCurrentPos = end - FlvReader::kPreviousTagSizeBytes - mTag.mPreviousTagSize;
        if (mCurrentPos < track().mStartPos) {
            reset();
            return advanceForward(nullptr) ? Step::kAtStart : Step::kEnd;
        }
        if (!readTagAt(mCurrentPos) || mTag.mDataSize == 0) break;
        mCurrentPos = mFile.mOffset + mTag.mDataSize;
        if (!fresh && mCurrentPos != end) break;
        const Unit unit = examineTag();
        if (unit == Unit::kSample) return Step::kSample;
        if (unit == Unit::kUnreadable) break;
    }
    reset();
    mTag = steppedFrom;
    return Step::kBroken;
}

// Called with the cursor at the tag's data and mCurrentPos at its end.
FlvSource::Unit FlvSource::examineTag() {
    if (mIsAudio) return mTag.mTagType == FlvReader::kTagAudio ? examineAudioTag() : Unit::kSkipped;
    return mTag.mTagType == FlvReader::kTagVideo ? examineVideoTag() : Unit::kSkipped;
}

FlvSource::Unit FlvSource::examineAudioTag() {
    AudioTag header;
    if (!mReader.ReadTag(header)) return Unit::kUnreadable;
    if (header.mSoundFormat == FlvReader::kSoundAac) {
        if (bytesLeftInTag() < 1) return Unit::kSkipped;
        const uint32_t packetType = mFile.BitRead(8);
        if (!mFile.Delivered()) return Unit::kUnreadable;
        if (packetType != FlvReader::kAacRaw) return Unit::kSkipped;
    }
    return recordSample(true);
}

FlvSource::Unit FlvSource::examineVideoTag() {
    VideoTag header;
    if (!mReader.ReadTag(header)) return Unit::kUnreadable;
    if (header.mFrameType == FlvReader::kFrameVideoInfo) return Unit::kSkipped;
    if (FlvReader::HasPacketType(header.mCodecId)) {
        if (bytesLeftInTag() < 1) return Unit::kSkipped;
        const uint32_t packetType = mFile.BitRead(8);
        if (!mFile.Delivered()) return Unit::kUnreadable;
        if (packetType != FlvReader::kAvcNalUnits) return Unit::kSkipped;
    }
    return examineVideoPayload(header);
}

// Consumes what the codec puts between the video header, with its packet type, and the payload.
FlvSource::Unit FlvSource::examineVideoPayload(const VideoTag& header) {
    if (header.mCodecId == FlvReader::kCodecVp6) {
        mFile.ByteSeek(mFile.mOffset + kVp6HeaderBytes);
    } else if (header.mCodecId == FlvReader::kCodecVp6Alpha) {
        mFile.ByteSeek(mFile.mOffset + kVp6AlphaHeaderBytes);
    } else if (FlvReader::HasPacketType(header.mCodecId)) {
        if (bytesLeftInTag() < kCompositionTimeBytes) return Unit::kSkipped;
        const uint32_t compositionTime = mFile.BitRead(24);
        if (!mFile.Delivered()) return Unit::kUnreadable;
        // Presentation times are what is delivered. A negative offset is not applied: it would put the first
        // samples of some encoders before zero. The sum wraps with the 32-bit clock of the format.
        if (compositionTime < kCompositionTimeSign) {
            mTag.mTimestamp = static_cast<uint32_t>(uint64_t{mTag.mTimestamp} + compositionTime);
        }
    }
    return recordSample(header.mFrameType == FlvReader::kFrameKey);
}

// A tag that ends before or with its header bytes is passed over: it holds nothing for a decoder, and a
// reader that stopped at it would lose all that follows.
FlvSource::Unit FlvSource::recordSample(bool isSync) {
    const int64_t size = bytesLeftInTag();
    if (size < 1) return Unit::kSkipped;
    mIsSyncFrame = isSync;
    mPayloadPos = mFile.mOffset;
    mPayloadSize = size;
    return Unit::kSample;
}

int64_t FlvSource::findThumbnailTimeUs() {
    reset();
    uint32_t timestamp = 0;
    int64_t largest = 0;
    for (int found = 0; found < kThumbnailCandidates && !mReachedEOS && advance(false);) {
        if (!mIsSyncFrame) continue;
        ++found;
        if (mPayloadSize <= largest) continue;
        largest = mPayloadSize;
        timestamp = mTag.mTimestamp;
    }
    return timestamp * kMicrosecondsPerMillisecond;
}

}  // namespace android
