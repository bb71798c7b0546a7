// SPDX-License-Identifier: Apache-2.0
#include "support/Samples.h"

#include <media/stagefright/MediaBuffer.h>
#include <media/stagefright/MediaErrors.h>
#include <media/stagefright/MetaData.h>

#include <algorithm>
#include <cstring>

#include "Utils.h"
#include "support/Allocations.h"
#include "support/Require.h"

namespace orvel {

using namespace android;

Track::Track(const sp<IMediaSource>& opened) : source(opened) {
    const char* mime = "";
    Require(source->getFormat()->findCString(kKeyMIMEType, &mime), "a track has a MIME type");
    source->start();
    isAudio = strncmp(mime, "audio/", 6) == 0;
    isAvc = strcmp(mime, ORVEL_MEDIA_MIMETYPE_VIDEO_AVC) == 0;
}

std::optional<Sample> ReadWithin(size_t heldBytes, const Track& track) {
    const AllocationBudget budget(heldBytes);
    return ReadSample(track);
}

std::optional<Sample> ReadSample(const Track& track, const IMediaSource::ReadOptions* options) {
    MediaBuffer* buffer = nullptr;
    const status_t status = track.source->read(&buffer, options);
    if (status != OK) {
        Require(status == ERROR_END_OF_STREAM && buffer == nullptr, "a read ends with the end of stream");
        return {};
    }
    int64_t timeUs = -1;
    int32_t isSync = -1;
    Require(buffer->meta_data()->findInt64(kKeyTime, &timeUs), "a sample has a time");
    Require(buffer->meta_data()->findInt32(kKeyIsSyncFrame, &isSync), "a sample has a sync flag");
    Require(buffer->range_length() > 0, "a sample has bytes");
    const auto* data = static_cast<const uint8_t*>(buffer->data()) + buffer->range_offset();
    Sample sample{timeUs, isSync != 0, std::vector<uint8_t>(data, data + buffer->range_length())};
    buffer->release();
    return sample;
}

// Annex B form of an access unit as far as its lengths are right; nothing when not even the first one is.
static std::vector<uint8_t> WithStartCodes(ByteSpan payload) {
    std::vector<uint8_t> unit(payload.data, payload.data + payload.size);
    size_t done = 0;
    while (unit.size() - done >= 4) {
        const size_t length = size_t{unit[done]} << 24 | size_t{unit[done + 1]} << 16 |
                              size_t{unit[done + 2]} << 8 | unit[done + 3];
        if (length > unit.size() - done - 4) break;
        for (size_t i = 0; i < 4; ++i)
            unit[done + i] = i == 3 ? 1 : 0;
        done += 4 + length;
    }
    unit.resize(done);
    return unit;
}

bool IsSame(const Sample& delivered, const FlvSample& stored, const Track& track) {
    if (delivered.timeUs != stored.timeUs || delivered.isSync != stored.isSync) return false;
    const ByteSpan& payload = stored.payload;
    if (std::equal(delivered.bytes.begin(), delivered.bytes.end(), payload.data, payload.data + payload.size))
        return true;
    return track.isAvc && delivered.bytes == WithStartCodes(payload);
}

SamplesAnywhere::SamplesAnywhere(ByteSpan file, const Track& track) : mTrack(track) {
    for (size_t slot = 0; slot < file.size; ++slot) {
        const auto tag = TagAt(file, static_cast<int64_t>(slot));
        const auto sample = tag ? SampleOf(*tag, track.isAudio) : std::nullopt;
        if (sample) mByTime.push_back(*sample);
    }
    std::sort(mByTime.begin(), mByTime.end(),
              [](const FlvSample& a, const FlvSample& b) { return a.timeUs < b.timeUs; });
}

bool SamplesAnywhere::contains(const Sample& delivered) const {
    auto at =
            std::lower_bound(mByTime.begin(), mByTime.end(), delivered.timeUs,
                             [](const FlvSample& sample, int64_t timeUs) { return sample.timeUs < timeUs; });
    for (; at != mByTime.end() && at->timeUs == delivered.timeUs; ++at) {
        if (IsSame(delivered, *at, mTrack)) return true;
    }
    return false;
}

}  // namespace orvel
