// SPDX-License-Identifier: Apache-2.0
#include "command/TrackReader.h"

#include <media/stagefright/MediaBuffer.h>
#include <media/stagefright/MetaData.h>

#include <utility>

namespace orvel {

TrackReader::TrackReader(const android::sp<android::IMediaSource>& source) : mSource(source) {
    mSource->start();
}

TrackReader::~TrackReader() {
    releaseBuffer();
    if (mSource != nullptr) mSource->stop();
}

TrackReader::TrackReader(TrackReader&& other) noexcept
    : mSource(other.mSource), mBuffer(std::exchange(other.mBuffer, nullptr)), mSample(other.mSample) {
    other.mSource.clear();
}

bool TrackReader::next() {
    return read(nullptr);
}

bool TrackReader::seek(int64_t timeUs) {
    android::IMediaSource::ReadOptions options;
    options.setSeekTo(timeUs);
    return read(&options);
}

bool TrackReader::seekOrRead(int64_t timeUs) {
    if (seek(timeUs)) return true;
    mSource->start();
    std::optional<int64_t> landingUs;
    bool isThere = false;
    while (!isThere && next()) {
        isThere = mSample.timeUs >= timeUs;
        if (mSample.isSync && (mSample.timeUs <= timeUs || !landingUs)) landingUs = mSample.timeUs;
    }
    if (!isThere || !landingUs) return false;
    mSource->start();
    while (next()) {
        if (mSample.isSync && mSample.timeUs == *landingUs) return true;
    }
    return false;
}

bool TrackReader::read(const android::IMediaSource::ReadOptions* options) {
    releaseBuffer();
    if (mSource->read(&mBuffer, options) != android::OK || mBuffer == nullptr) return false;
    int32_t isSync = 0;
    mBuffer->meta_data()->findInt64(android::kKeyTime, &mSample.timeUs);
    mBuffer->meta_data()->findInt32(android::kKeyIsSyncFrame, &isSync);
    mSample.isSync = isSync != 0;
    mSample.bytes = ByteSpan(static_cast<const uint8_t*>(mBuffer->data()) + mBuffer->range_offset(),
                             mBuffer->range_length());
    return true;
}

void TrackReader::releaseBuffer() {
    if (mBuffer != nullptr) mBuffer->release();
    mBuffer = nullptr;
}

Interleaver::Interleaver(std::vector<TrackReader> tracks, std::optional<int64_t> startUs, size_t leading)
    : mTracks(std::move(tracks)), mIsOpen(mTracks.size()) {
    if (startUs && leading < mTracks.size()) {
        mIsOpen[leading] = mTracks[leading].seekOrRead(*startUs);
        if (mIsOpen[leading]) startUs = mTracks[leading].sample().timeUs;
    }
    for (size_t i = 0; i < mTracks.size(); ++i) {
        if (!startUs) mIsOpen[i] = mTracks[i].next();
        if (startUs && i != leading) mIsOpen[i] = seekTo(i, *startUs);
    }
}

bool Interleaver::seekTo(size_t track, int64_t timeUs) {
    bool isThere = mTracks[track].seekOrRead(timeUs);
    while (isThere && mTracks[track].sample().timeUs < timeUs)
        isThere = mTracks[track].next();
    return isThere;
}

std::optional<Interleaver::Turn> Interleaver::next() {
    if (mTaken && mIsOpen[*mTaken]) mIsOpen[*mTaken] = mTracks[*mTaken].next();
    mTaken.reset();
    for (size_t i = 0; i < mTracks.size(); ++i) {
        bool isEarlier = !mTaken || mTracks[i].sample().timeUs < mTracks[*mTaken].sample().timeUs;
        if (mIsOpen[i] && isEarlier) mTaken = i;
    }
    if (!mTaken) return std::nullopt;
    return Turn{*mTaken, &mTracks[*mTaken].sample()};
}

}  // namespace orvel
