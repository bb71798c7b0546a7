// SPDX-License-Identifier: Apache-2.0
#include "format/TrackFormat.h"

#include <string.h>

#include "Utils.h"
#include "format/AudioConfiguration.h"

namespace orvel {
namespace {

constexpr uint32_t FourCc(const char (&text)[5]) {
    return static_cast<uint32_t>(static_cast<uint8_t>(text[0]) | static_cast<uint8_t>(text[1]) << 8 |
                                 static_cast<uint8_t>(text[2]) << 16 | static_cast<uint8_t>(text[3]) << 24);
}

// What the plug-in makes of a duration in the metadata that is infinite, or longer than a file's times reach.
constexpr int64_t kNoDurationUs = int64_t{UINT32_MAX} * 1000;

constexpr size_t kBitmapHeaderSize = 40;
constexpr size_t kBitmapCompression = 16;

const CodecTraits kTraits[] = {
        {Codec::kAvc, android::ORVEL_MEDIA_MIMETYPE_VIDEO_AVC, 0, "h264", "AVC", ".h264"},
        {Codec::kHevc, android::ORVEL_MEDIA_MIMETYPE_VIDEO_HEVC, 0, "hevc", "HEVC", ".h265"},
        {Codec::kSorensonH263, android::ORVEL_MEDIA_MIMETYPE_VIDEO_FFMPEG, FourCc("FLV1"), "flv1",
         "Sorenson H.263", ".ivf"},
        {Codec::kVp6, android::ORVEL_MEDIA_MIMETYPE_VIDEO_FFMPEG, FourCc("VP6F"), "vp6f", "VP6", ".ivf"},
        {Codec::kVp6Alpha, android::ORVEL_MEDIA_MIMETYPE_VIDEO_FFMPEG, FourCc("VP6A"), "vp6a",
         "VP6 with alpha", ".ivf"},
        {Codec::kAac, android::ORVEL_MEDIA_MIMETYPE_AUDIO_AAC, 0, "aac", "AAC", ".aac"},
        {Codec::kMp3, android::ORVEL_MEDIA_MIMETYPE_AUDIO_MPEG, 0, "mp3", "MP3", ".mp3"},
        {Codec::kPcm, android::ORVEL_MEDIA_MIMETYPE_AUDIO_RAW, 0, "pcm", "PCM", ".wav"},
        {Codec::kAdpcm, android::ORVEL_MEDIA_MIMETYPE_AUDIO_ADPCM, 0, "adpcm_swf", "ADPCM", ".wav"},
        {Codec::kUnknown, "", 0, "unknown", "unknown codec", nullptr},
};

Codec FindCodec(const std::string& mime, ByteSpan bitmapHeader) {
    uint32_t fourCc = bitmapHeader.size >= kBitmapHeaderSize
                              ? android::U32LE_AT(bitmapHeader.data + kBitmapCompression)
                              : 0;
    for (const CodecTraits& row : kTraits) {
        if (mime == row.mime && (row.fourCc == 0 || row.fourCc == fourCc)) return row.codec;
    }
    return Codec::kUnknown;
}

ByteSpan FindBytes(const android::MetaData& format, uint32_t key) {
    uint32_t type;
    const void* data;
    size_t size;
    if (!format.findData(key, &type, &data, &size)) return ByteSpan();
    return ByteSpan(static_cast<const uint8_t*>(data), size);
}

ByteSpan FindConfiguration(const android::MetaData& format, TrackFormat* track) {
    struct Place {
        uint32_t key;
        const char* name;
    };
    for (const Place& place : {Place{android::kKeyAVCC, "avcC"}, Place{android::kKeyHVCC, "hvcC"}}) {
        ByteSpan record = FindBytes(format, place.key);
        if (record.size == 0) continue;
        track->configurationName = place.name;
        return record;
    }
    ByteSpan info = FindDecoderSpecificInfo(FindBytes(format, android::kKeyESDS));
    if (info.size > 0) {
        track->configurationName = track->kind == TrackKind::kVideo ? "bitmap header" : "AudioSpecificConfig";
    }
    return info;
}

}  // namespace

const CodecTraits& TraitsOf(Codec codec) {
    for (const CodecTraits& row : kTraits) {
        if (row.codec == codec) return row;
    }
    return TraitsOf(Codec::kUnknown);
}

TrackFormat ReadTrackFormat(const android::MetaData& format) {
    TrackFormat track;
    const char* mime;
    if (format.findCString(android::kKeyMIMEType, &mime)) track.mime = mime;
    track.kind = strncasecmp(track.mime.c_str(), "video/", 6) == 0 ? TrackKind::kVideo : TrackKind::kAudio;
    format.findInt32(android::kKeyWidth, &track.width);
    format.findInt32(android::kKeyHeight, &track.height);
    format.findInt32(android::kKeySampleRate, &track.sampleRate);
    format.findInt32(android::kKeyChannelCount, &track.channelCount);
    format.findInt64(android::kKeyDuration, &track.durationUs);
    const bool hasNoEnd = track.durationUs >= kNoDurationUs;
    if (hasNoEnd) track.durationUs = 0;
    int64_t thumbnailTimeUs;
    if (!hasNoEnd && format.findInt64(android::kKeyThumbnailTime, &thumbnailTimeUs))  // a share of it
        track.thumbnailTimeUs = thumbnailTimeUs;
    ByteSpan record = FindConfiguration(format, &track);
    track.configuration.assign(record.data, record.data + record.size);
    track.codec = FindCodec(track.mime, record);
    return track;
}

}  // namespace orvel
