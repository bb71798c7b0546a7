// SPDX-License-Identifier: Apache-2.0
#include "flv/StreamHeader.h"

#include <fmt/format.h>
#include <string.h>

#include "flv/Integers.h"

namespace orvel {
namespace {

constexpr uint8_t kEnhancedVideo = 0x80;
constexpr uint8_t kEnhancedAudio = 9;
constexpr uint8_t kAac = 10, kAvc = 7, kHevc = 9;
constexpr uint8_t kOtherHevc = 12, kAv1 = 13;  // as several writers have them, with packets like AVC's
constexpr uint8_t kCommandFrame = 5;
constexpr uint8_t kPacketConfiguration = 0, kPacketFrames = 1, kPacketEnd = 2, kPacketMetadata = 4,
                  kAudioChannels = 4;
constexpr uint8_t kVideoMultitrack = 6, kAudioMultitrack = 5;
constexpr uint8_t kVp6 = 4, kVp6Alpha = 5;
constexpr uint32_t kClassicHeaderSize = 1, kEnhancedHeaderSize = 5, kPacketTypeSize = 1,
                   kCompositionTimeSize = 3, kVp6AdjustmentSize = 1, kVp6AlphaOffsetSize = 3;
constexpr uint32_t kCompositionTimeSign = 0x800000;

struct CodecRow {
    TrackKind kind;
    uint32_t codec;
    const char* name;
    const char* shortName;
    bool isOffered;
};
constexpr auto kVideo = TrackKind::kVideo, kAudio = TrackKind::kAudio;
constexpr CodecRow kCodecs[] = {
        {kVideo, 1, "JPEG", "mjpeg", false},
        {kVideo, 2, "Sorenson H.263", "flv1", true},
        {kVideo, 3, "Screen video", "flashsv", false},
        {kVideo, 4, "On2 VP6", "vp6f", true},
        {kVideo, 5, "On2 VP6 with alpha channel", "vp6a", true},
        {kVideo, 6, "Screen video version 2", "flashsv2", false},
        {kVideo, kAvc, "AVC", "h264", true},
        {kVideo, 8, "H.263", "h263", false},
        {kVideo, kHevc, "HEVC", "hevc", true},
        {kVideo, kOtherHevc, "HEVC under CodecID 12", "hevc", false},
        {kVideo, kAv1, "AV1 under CodecID 13", "av1", false},
        {kAudio, 0, "Linear PCM, platform endian", "pcm", true},
        {kAudio, 1, "ADPCM", "adpcm_swf", true},
        {kAudio, 2, "MP3", "mp3", true},
        {kAudio, 3, "Linear PCM, little endian", "pcm", true},
        {kAudio, 4, "Nellymoser 16 kHz mono", "nellymoser", false},
        {kAudio, 5, "Nellymoser 8 kHz mono", "nellymoser", false},
        {kAudio, 6, "Nellymoser", "nellymoser", false},
        {kAudio, 7, "G.711 A-law", "pcm_alaw", false},
        {kAudio, 8, "G.711 mu-law", "pcm_mulaw", false},
        {kAudio, kAac, "AAC", "aac", true},
        {kAudio, 11, "Speex", "speex", false},
        {kAudio, 14, "MP3 8 kHz", "mp3", false},
        {kAudio, 15, "Device-specific sound", "unknown", false},
};

struct FourCcRow {
    const char* fourCc;
    const char* name;
    const char* shortName;
};
constexpr FourCcRow kFourCcs[] = {
        {"avc1", "AVC", "h264"},  {"hvc1", "HEVC", "hevc"}, {"vvc1", "VVC", "vvc"},
        {"av01", "AV1", "av1"},   {"vp08", "VP8", "vp8"},   {"vp09", "VP9", "vp9"},
        {"mp4a", "AAC", "aac"},   {".mp3", "MP3", "mp3"},   {"Opus", "Opus", "opus"},
        {"fLaC", "FLAC", "flac"}, {"ac-3", "AC-3", "ac3"},  {"ec-3", "E-AC-3", "eac3"}};

const CodecRow* Find(const StreamHeader& header) {
    for (const CodecRow& row : kCodecs) {
        if (!header.isEnhanced && row.kind == header.kind && row.codec == header.codec) return &row;
    }
    return nullptr;
}

std::string FourCcText(uint32_t fourCc) {
    std::string text;
    for (int shift = 24; shift >= 0; shift -= 8) {
        auto byte = static_cast<uint8_t>(fourCc >> shift);
        text += byte >= 0x20 && byte < 0x7f ? static_cast<char>(byte) : '?';
    }
    return text;
}

const FourCcRow* FindFourCc(const StreamHeader& header) {
    for (const FourCcRow& row : kFourCcs) {
        if (header.isEnhanced && FourCcText(header.codec) == row.fourCc) return &row;
    }
    return nullptr;
}

bool HasPacketType(const StreamHeader& header) {
    return header.codec == kAvc || header.codec == kHevc || header.codec == kOtherHevc ||
           header.codec == kAv1;
}

// A negative composition time is not applied: the plug-in does not, and a sample must not come before zero.
uint32_t CompositionTime(const uint8_t* bytes) {
    uint32_t value = U24_AT(bytes);
    return value < kCompositionTimeSign ? value : 0;
}

// The packet type and the FourCC; of tags with several streams those of the first one.
void ReadEnhanced(const TagUnit& unit, uint8_t multitrackType, StreamHeader* header) {
    header->packetType = unit.data[0] & 15;
    header->isMultitrack = header->packetType == multitrackType;
    if (header->isMultitrack) header->packetType = unit.data[1] & 15;
    header->codec = android::U32_AT(&unit.data[header->isMultitrack ? 2 : 1]);
    header->size = kEnhancedHeaderSize + (header->isMultitrack ? 1 : 0);
}

void ReadEnhancedVideo(const TagUnit& unit, StreamHeader* header) {
    ReadEnhanced(unit, kVideoMultitrack, header);
    header->isConfiguration = header->packetType == kPacketConfiguration;
    header->isOther = header->packetType == kPacketEnd || header->packetType == kPacketMetadata;
    std::string fourCc = FourCcText(header->codec);
    if (header->packetType != kPacketFrames || (fourCc != "avc1" && fourCc != "hvc1")) return;
    header->compositionMs = CompositionTime(&unit.data[kEnhancedHeaderSize]);
    header->size += kCompositionTimeSize;
}

StreamHeader ReadVideo(const TagUnit& unit) {
    StreamHeader header;
    uint8_t first = unit.data[0];
    header.isEnhanced = (first & kEnhancedVideo) != 0;
    header.frameType = header.isEnhanced ? (first >> 4) & 7 : first >> 4;
    header.isCommand = header.frameType == kCommandFrame;
    header.codec = first & 15;
    header.size = kClassicHeaderSize;
    if (header.isEnhanced) {
        ReadEnhancedVideo(unit, &header);
    } else if (HasPacketType(header)) {
        header.packetType = unit.data[1];
        header.isConfiguration = header.packetType == kPacketConfiguration;
        header.isOther = header.packetType > kPacketFrames;
        header.compositionMs = CompositionTime(&unit.data[2]);
        header.size += kPacketTypeSize + kCompositionTimeSize;
    } else if (header.codec == kVp6) {
        header.size += kVp6AdjustmentSize;
    } else if (header.codec == kVp6Alpha) {
        header.size += kVp6AdjustmentSize + kVp6AlphaOffsetSize;
    }
    return header;
}

StreamHeader ReadAudio(const TagUnit& unit) {
    StreamHeader header;
    header.kind = TrackKind::kAudio;
    uint8_t format = unit.data[0] >> 4;
    header.isEnhanced = format == kEnhancedAudio;
    header.codec = format;
    header.size = kClassicHeaderSize;
    if (!header.isEnhanced && format != kAac) return header;
    header.packetType = unit.data[1];
    if (header.isEnhanced) ReadEnhanced(unit, kAudioMultitrack, &header);
    header.isConfiguration = header.packetType == kPacketConfiguration;
    header.isOther = header.isEnhanced
                             ? header.packetType == kPacketEnd || header.packetType == kAudioChannels
                             : header.packetType > kPacketFrames;
    if (!header.isEnhanced) header.size += kPacketTypeSize;
    return header;
}

}  // namespace

StreamHeader ReadStreamHeader(const TagUnit& unit) {
    StreamHeader header = unit.is(TagType::kVideo) ? ReadVideo(unit) : ReadAudio(unit);
    header.hasPayload = unit.dataSize > header.size;
    return header;
}

bool IsKnownCodec(const StreamHeader& header) {
    return header.isEnhanced || Find(header) != nullptr;
}

std::string CodecName(const StreamHeader& header) {
    if (const CodecRow* row = Find(header)) return row->name;
    if (!header.isEnhanced) return fmt::format("unknown codec {}", header.codec);
    const FourCcRow* row = FindFourCc(header);
    return fmt::format("{}{} (FourCC {})", header.isMultitrack ? "multitrack " : "",
                       row != nullptr ? row->name : "unknown codec", FourCcText(header.codec));
}

const char* ShortCodecName(const StreamHeader& header) {
    if (const CodecRow* row = Find(header)) return row->shortName;
    const FourCcRow* row = FindFourCc(header);
    return row != nullptr ? row->shortName : "unknown";
}

std::string WhyNoTrack(const StreamHeader& header) {
    if (header.isEnhanced) return "its headers are those of Enhanced RTMP, which the plug-in does not read";
    const CodecRow* row = Find(header);
    return row != nullptr && row->isOffered ? "" : "the plug-in has no track for this codec";
}

}  // namespace orvel
