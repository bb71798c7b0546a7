// SPDX-License-Identifier: Apache-2.0
#include "command/Description.h"

#include <fmt/format.h>
#include <zlib.h>

#include <algorithm>
#include <nlohmann/json.hpp>

#include "format/AudioConfiguration.h"
#include "format/Mp3Header.h"
#include "format/ParameterSets.h"
#include "source/OpenSource.h"
#include "support/CountText.h"
#include "support/Terminal.h"
#include "support/TimeText.h"

namespace orvel {
namespace {

using Json = nlohmann::ordered_json;

// What the codec's own configuration says, with the container's word where it says nothing.
struct CodecFacts {
    std::string profile;
    std::string level;
    int levelIdc = 0;
    uint32_t sampleRate = 0;
    uint32_t coreRate = 0;  // of AAC, before SBR
    uint32_t channels = 0;
};

uint32_t CountChannels(const AudioSpecificConfig& config, uint32_t containers) {
    if (config.channelConfiguration == 0 || config.channelConfiguration > 7) return containers;
    if (config.channelConfiguration == 7) return 8;
    return config.hasPs && config.channelConfiguration == 1 ? 2 : config.channelConfiguration;
}

// FLV's two bits know no 48000 Hz; the first frame's own header does.
void FindMp3Facts(const Input& input, size_t track, CodecFacts* facts) {
    TrackReader reader = input.openTrack(track);
    std::optional<Mp3Header> header;
    if (reader.next()) header = ParseMp3Header(reader.sample().bytes);
    if (!header) return;
    facts->sampleRate = header->sampleRate;
    facts->channels = header->channels;
}

CodecFacts FindFacts(const Input& input, size_t track) {
    const TrackFormat& format = input.tracks()[track];
    CodecFacts facts;
    facts.sampleRate = static_cast<uint32_t>(format.sampleRate);
    facts.channels = static_cast<uint32_t>(format.channelCount);
    std::optional<ParameterSets> sets;
    if (format.codec == Codec::kAvc) sets = ParseAvcConfiguration(format.configuration);
    if (format.codec == Codec::kHevc) sets = ParseHevcConfiguration(format.configuration);
    if (sets) {
        facts.profile = sets->profile;
        facts.level = sets->level;
        facts.levelIdc = sets->levelIdc;
    }
    std::optional<AudioSpecificConfig> config;
    if (format.codec == Codec::kAac) config = ParseAudioSpecificConfig(format.configuration);
    if (config) {
        facts.profile = config->profile();
        facts.sampleRate = config->outputRate;
        facts.channels = CountChannels(*config, facts.channels);
        facts.coreRate = config->sampleRate;
    }
    if (format.codec == Codec::kMp3) FindMp3Facts(input, track, &facts);
    return facts;
}

std::string ChannelsText(uint32_t channels) {
    if (channels == 1) return "mono";
    if (channels == 2) return "stereo";
    return fmt::format("{} channels", channels);
}

std::string DescribeIndex(const Input::Index& index) {
    if (index.positions == 0 && index.times == 0) return "no key-frame index";
    if (index.positions != index.times) {
        return fmt::format("unused key-frame index ({} positions, {} times)", index.positions, index.times);
    }
    return fmt::format("{}key-frame index of {} entries", index.isUsed() ? "" : "unused ", index.positions);
}

std::string CodecName(const TrackFormat& format, const TrackFindings& findings) {
    if (format.codec == Codec::kPcm && findings.pcmBits == 8) return "pcm_u8";
    if (format.codec == Codec::kPcm && findings.pcmBits == 16) return "pcm_s16le";
    return TraitsOf(format.codec).shortName;
}

void Append(const std::string& item, std::string* line) {
    if (!item.empty()) *line += ", " + item;
}

void AppendVideo(const Input& input, const TrackFormat& format, std::string* line) {
    Append(fmt::format("{}x{}", format.width, format.height), line);
    if (format.thumbnailTimeUs) {
        Append(fmt::format("thumbnail at {} s", FormatSeconds(*format.thumbnailTimeUs)), line);
    }
    Append(DescribeIndex(input.index()), line);
}

}  // namespace

std::string DescribeContainer(const Input& input) {
    std::string duration = input.durationUs() > 0 ? FormatSeconds(input.durationUs()) + " s" : "unknown";
    return fmt::format("{}: FLV (video/flv), duration {}, {} bytes", input.name(), duration, input.size());
}

std::string DescribeTrack(const Input& input, size_t track, const TrackFindings& findings) {
    const TrackFormat& format = input.tracks()[track];
    CodecFacts facts = FindFacts(input, track);
    std::string line =
            fmt::format("  {} {} ({})", format.kindName(), TraitsOf(format.codec).title, format.mime);
    Append(facts.level.empty() ? facts.profile : facts.profile + "@" + facts.level, &line);
    if (format.kind == TrackKind::kVideo) {
        AppendVideo(input, format, &line);
    } else {
        if (findings.pcmBits != 0) Append(fmt::format("{}-bit", findings.pcmBits), &line);
        Append(fmt::format("{} Hz", facts.sampleRate), &line);
        Append(ChannelsText(facts.channels), &line);
    }
    if (!format.configuration.empty()) {
        Append(fmt::format("{} of {} bytes", format.configurationName, format.configuration.size()), &line);
    }
    if (findings.packets) Append(CountText(*findings.packets, "sample"), &line);
    return line;
}

Json ContainerJson(const Input& input) {
    Json json = {{"filename", input.name()}, {"nb_streams", input.tracks().size()}, {"format_name", "flv"}};
    if (input.durationUs() > 0) {
        json["duration"] = Seconds(input.durationUs());
        json["bit_rate"] =
                static_cast<int64_t>(static_cast<double>(input.size()) * 8 / Seconds(input.durationUs()));
    }
    json["size"] = input.size();
    json["nb_index_entries"] = input.index().positions;
    json["index_used"] = input.index().isUsed();
    return json;
}

Json TrackJson(const Input& input, size_t track, const TrackFindings& findings) {
    const TrackFormat& format = input.tracks()[track];
    CodecFacts facts = FindFacts(input, track);
    Json json = {
            {"index", track}, {"codec_name", CodecName(format, findings)}, {"codec_type", format.kindName()}};
    json["mime_type"] = format.mime;
    if (!facts.profile.empty()) json["profile"] = facts.profile;
    if (format.kind == TrackKind::kVideo) {
        json["width"] = format.width;
        json["height"] = format.height;
        if (facts.levelIdc != 0) json["level"] = facts.levelIdc;
        if (format.thumbnailTimeUs) json["thumbnail_time"] = Seconds(*format.thumbnailTimeUs);
    } else {
        json["sample_rate"] = facts.sampleRate;
        json["channels"] = facts.channels;
        if (facts.coreRate != 0 && facts.coreRate != facts.sampleRate)
            json["core_sample_rate"] = facts.coreRate;
        if (findings.pcmBits != 0) json["bits_per_sample"] = findings.pcmBits;
    }
    if (format.durationUs > 0) json["duration"] = Seconds(format.durationUs);
    if (!format.configuration.empty()) json["extradata_size"] = format.configuration.size();
    if (findings.packets) json["nb_read_packets"] = *findings.packets;
    return json;
}

Json SampleJson(const TrackFormat& format, size_t track, const AccessUnit& sample) {
    return {{"codec_type", format.kindName()},
            {"stream_index", track},
            {"pts", sample.timeUs / 1000},
            {"pts_time", Seconds(sample.timeUs)},
            {"size", sample.bytes.size},
            {"flags", sample.isSync ? "K_" : "__"},
            {"data_hash", fmt::format("CRC32:{:08x}", SampleCrc(sample))}};
}

Json ErrorJson(const std::string& location, const std::string& why) {
    return {{"filename", ShownLocation(location)}, {"error", why}};
}

uint32_t SampleCrc(const AccessUnit& sample) {
    return static_cast<uint32_t>(crc32_z(0, sample.bytes.data, sample.bytes.size));
}

double Seconds(int64_t timeUs) {
    return static_cast<double>(timeUs) / 1e6;
}

std::string Dump(const Json& document) {
    return EscapeJson(document.dump(-1, ' ', false, Json::error_handler_t::replace));
}

}  // namespace orvel
