// SPDX-License-Identifier: Apache-2.0
#include "inspect/StreamNames.h"

#include <fmt/format.h>
#include <string.h>

#include "Utils.h"

namespace orvel {
namespace {

constexpr uint8_t kEnhancedVideo = 0x80;
constexpr uint8_t kEnhancedAudio = 9;
constexpr uint8_t kAac = 10, kAvc = 7, kHevc = 9;
constexpr uint8_t kCommandFrame = 5;
constexpr uint8_t kPacketConfiguration = 0, kPacketEnd = 2, kPacketMetadata = 4, kAudioChannels = 4;

struct CodecRow {
    TrackKind kind;
    uint32_t codec;
    const char* name;
    bool isOffered;
};
constexpr auto kVideo = TrackKind::kVideo, kAudio = TrackKind::kAudio;
constexpr CodecRow kCodecs[] = {
        {kVideo, 1, "JPEG", false},
        {kVideo, 2, "Sorenson H.263", true},
        {kVideo, 3, "Screen video", false},
        {kVideo, 4, "On2 VP6", true},
        {kVideo, 5, "On2 VP6 with alpha channel", true},
        {kVideo, 6, "Screen video version 2", false},
        {kVideo, kAvc, "AVC", true},
        {kVideo, 8, "H.263", false},
        {kVideo, kHevc, "HEVC", true},
        {kVideo, 12, "HEVC under CodecID 12", false},
        {kAudio, 0, "Linear PCM, platform endian", true},
        {kAudio, 1, "ADPCM", true},
        {kAudio, 2, "MP3", true},
        {kAudio, 3, "Linear PCM, little endian", true},
        {kAudio, 4, "Nellymoser 16 kHz mono", false},
        {kAudio, 5, "Nellymoser 8 kHz mono", false},
        {kAudio, 6, "Nellymoser", false},
        {kAudio, 7, "G.711 A-law", false},
        {kAudio, 8, "G.711 mu-law", false},
        {kAudio, kAac, "AAC", true},
        {kAudio, 11, "Speex", false},
        {kAudio, 14, "MP3 8 kHz", false},
        {kAudio, 15, "Device-specific sound", false},
};

struct FourCcRow {
    const char* fourCc;
    const char* name;
};
constexpr FourCcRow kFourCcs[] = {{"avc1", "AVC"},  {"hvc1", "HEVC"}, {"vvc1", "VVC"},  {"av01", "AV1"},
                                  {"vp08", "VP8"},  {"vp09", "VP9"},  {"mp4a", "AAC"},  {".mp3", "MP3"},
                                  {"Opus", "Opus"}, {"fLaC", "FLAC"}, {"ac-3", "AC-3"}, {"ec-3", "E-AC-3"}};

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

StreamHeader ReadVideo(const TagUnit& unit) {
    StreamHeader header;
    uint8_t first = unit.data[0];
    header.isEnhanced = (first & kEnhancedVideo) != 0;
    header.frameType = (first >> 4) & 7;
    header.isCommand = header.frameType == kCommandFrame;
    uint8_t packet = header.isEnhanced ? first & 15 : unit.data[1];
    header.codec = header.isEnhanced ? android::U32_AT(&unit.data[1]) : first & 15;
    bool hasPacket = header.isEnhanced || header.codec == kAvc || header.codec == kHevc;
    header.isConfiguration = hasPacket && (packet == kPacketConfiguration || packet == kPacketEnd ||
                                           (header.isEnhanced && packet == kPacketMetadata));
    return header;
}

StreamHeader ReadAudio(const TagUnit& unit) {
    StreamHeader header;
    header.kind = TrackKind::kAudio;
    uint8_t format = unit.data[0] >> 4;
    header.isEnhanced = format == kEnhancedAudio;
    header.codec = header.isEnhanced ? android::U32_AT(&unit.data[1]) : format;
    uint8_t packet = header.isEnhanced ? unit.data[0] & 15 : unit.data[1];
    header.isConfiguration = (header.isEnhanced || format == kAac) &&
                             (packet == kPacketConfiguration || packet == kPacketEnd ||
                              (header.isEnhanced && packet == kAudioChannels));
    return header;
}

}  // namespace

StreamHeader ReadStreamHeader(const TagUnit& unit) {
    return unit.is(TagType::kVideo) ? ReadVideo(unit) : ReadAudio(unit);
}

std::string CodecName(const StreamHeader& header) {
    if (const CodecRow* row = Find(header)) return row->name;
    if (!header.isEnhanced) return fmt::format("unknown codec {}", header.codec);
    std::string fourCc = FourCcText(header.codec);
    for (const FourCcRow& row : kFourCcs) {
        if (fourCc == row.fourCc) return fmt::format("{} (FourCC {})", row.name, fourCc);
    }
    return fmt::format("unknown codec (FourCC {})", fourCc);
}

std::string WhyNoTrack(const StreamHeader& header) {
    if (header.isEnhanced) return "its headers are those of Enhanced RTMP, which the plug-in does not read";
    const CodecRow* row = Find(header);
    return row != nullptr && row->isOffered ? "" : "the plug-in has no track for this codec";
}

}  // namespace orvel
