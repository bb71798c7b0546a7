// SPDX-License-Identifier: Apache-2.0
#include "command/WalkDescription.h"

#include <fmt/format.h>

#include <cmath>
#include <nlohmann/json.hpp>

#include "command/Description.h"

namespace orvel {
namespace {

using Json = nlohmann::ordered_json;

// Declared and found durations closer than this are the same: the last sample's length is in one and not in
// the other.
constexpr int64_t kDurationSlackMs = 500;

Json Number(double value) {
    return std::isfinite(value) ? Json(value) : Json();
}

Json ValueJson(const AmfValue& value) {
    switch (value.type) {
        case AmfValue::Type::kNumber:
        case AmfValue::Type::kDate:
            return Number(value.number);
        case AmfValue::Type::kBoolean:
            return value.number != 0;
        case AmfValue::Type::kString:
            return value.text;
        case AmfValue::Type::kNull:
        case AmfValue::Type::kReference:
            return Json();
        case AmfValue::Type::kObject: {
            Json object = Json::object();
            for (const auto& [name, member] : value.members)
                object[name] = ValueJson(member);
            return object;
        }
        case AmfValue::Type::kArray: {
            Json array = Json::array();
            for (double number : value.numbers)
                array.push_back(Number(number));
            for (const AmfValue& item : value.values)
                array.push_back(ValueJson(item));
            return array;
        }
    }
    return Json();
}

}  // namespace

void AddWalked(const Input& input, size_t track, bool counts, Json* json) {
    const StreamSeen* stream = input.streamOf(track);
    (*json)["supported"] = true;
    if (stream == nullptr || stream->samples == 0) return;
    (*json)["start_time"] = Seconds(stream->startMs * 1000);
    std::optional<FrameRate> rate = stream->frameRate();
    if (stream->header.kind == TrackKind::kVideo && rate) {
        (*json)["avg_frame_rate"] = fmt::format("{}/{}", rate->numerator, rate->denominator);
        (*json)["frame_rate_even"] = stream->hasEvenFrames();
    }
    if (!counts) return;
    (*json)["nb_read_packets"] = stream->samples;
    (*json)["nb_read_bytes"] = stream->payloadBytes;
}

Json LeftOutJson(const StreamSeen& stream, size_t index) {
    return {{"index", index},
            {"codec_name", ShortCodecName(stream.header)},
            {"codec_type", stream.kindName()},
            {"codec", CodecName(stream.header)},
            {"supported", false},
            {"reason", stream.whyNoTrack},
            {"nb_tags", stream.tags},
            {"size", stream.bytes}};
}

void AddScripts(const Input& input, Json* format, Json* document) {
    const Inspection& found = input.inspection();
    int64_t spanMs = found.spanMs();
    if (found.metadata) {
        double declared = found.metadata->durationSeconds.value_or(0);
        if (std::abs(declared * 1000 - static_cast<double>(spanMs)) > kDurationSlackMs) {
            (*format)["duration_declared"] = Number(declared);
            (*format)["duration_found"] = Seconds(spanMs * 1000);
        }
        (*document)["metadata"] = ValueJson(found.metadata->properties);
    }
    Json events = Json::array();
    for (const ScriptEvent& event : found.scripts.events) {
        Json data = Json::array();
        for (const AmfValue& value : event.values)
            data.push_back(ValueJson(value));
        events.push_back({{"name", event.name},
                          {"time", event.timeMs / 1000.0},
                          {"offset", event.offset},
                          {"size", event.bytes},
                          {"data", data}});
    }
    if (!events.empty()) (*document)["events"] = events;
}

}  // namespace orvel
