// SPDX-License-Identifier: Apache-2.0
#include "remux/Details.h"

#include <fmt/format.h>
#include <limits.h>
#include <time.h>

#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>

#include "flv/CuePoints.h"
#include "support/CountText.h"
#include "support/TimeText.h"

namespace orvel {
namespace {

constexpr size_t kMostTags = 256;
constexpr size_t kMostNamedCuePoints = 8;
constexpr char kCreationTime[] = "creation_time", kDate[] = "date";

// What writers of FLV call it, in lower case and without underscores, and what the libraries do.
constexpr struct {
    const char* property;
    const char* tag;
} kNames[] = {{"author", "artist"},
              {"creator", "artist"},
              {"description", "comment"},
              {"creationdate", kCreationTime},
              {"creationtime", kCreationTime},
              {"datecreated", kCreationTime},
              {"metadatacreator", "encoded_by"},
              {"software", "encoded_by"},
              {"encoder", MuxDetails::kEncoder},
              {"title", "title"},
              {"artist", "artist"},
              {"comment", "comment"},
              {"copyright", "copyright"},
              {"date", kDate}};

// Bytes that are not UTF-8 would make a container that readers refuse; they are replaced.
std::string Utf8(const std::string& text) {
    using nlohmann::json;
    return json::parse(json(text).dump(-1, ' ', false, json::error_handler_t::replace)).get<std::string>();
}

std::string TagName(const std::string& property) {
    std::string name;
    for (char c : property) {
        if (c != '_') name += c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    }
    for (const auto& row : kNames) {
        if (name == row.property) return row.tag;
    }
    return Utf8(property);
}

std::string DateText(const tm& date) {
    return fmt::format("{:04}-{:02}-{:02}T{:02}:{:02}:{:02}Z", date.tm_year + 1900, date.tm_mon + 1,
                       date.tm_mday, date.tm_hour, date.tm_min, date.tm_sec);
}

// Of milliseconds since 1970; empty beyond the years with four digits.
std::string DateText(double ms) {
    constexpr double kFirst = -62135596800e3, kLast = 253402300799e3;
    if (!(ms >= kFirst && ms <= kLast)) return "";
    auto seconds = static_cast<time_t>(std::floor(ms / 1000));
    tm date = {};
    return gmtime_r(&seconds, &date) != nullptr ? DateText(date) : "";
}

// A date as common writers have it; one without a zone counts as UTC. Empty for other texts, which the
// libraries would drop.
std::string ParseDate(const std::string& text) {
    for (const char* form : {"%Y-%m-%dT%H:%M:%S", "%Y-%m-%d %H:%M:%S", "%a %b %d %H:%M:%S %Y"}) {
        tm date = {};
        if (strptime(text.c_str(), form, &date) != nullptr) return DateText(date);
    }
    return "";
}

void AddTags(const AmfValue& properties, MuxDetails* details) {
    for (const auto& [property, value] : properties.members) {
        bool isDate = value.type == AmfValue::Type::kDate;
        if ((!isDate && value.type != AmfValue::Type::kString) || details->tags.size() == kMostTags) continue;
        std::string name = TagName(property);
        std::string text = isDate ? DateText(value.number) : Utf8(value.text);
        if (name == kCreationTime) {
            std::string date = isDate ? text : ParseDate(text);
            if (date.empty()) name = kDate;
            if (!date.empty()) text = date;
        }
        // Two properties of one meaning do not replace each other.
        auto isSame = [&name](const auto& tag) { return tag.first == name; };
        if (std::any_of(details->tags.begin(), details->tags.end(), isSame)) name = Utf8(property);
        if (!name.empty() && !text.empty()) details->tags.emplace_back(name, text);
    }
}

std::vector<CuePoint> CuePointsOf(const Inspection& inspection) {
    return ReadCuePoints(inspection.metadata, inspection.scripts.events);
}

// Each lasts to the next one, and the last one to the end.
std::vector<MuxDetails::Chapter> FindChapters(const Inspection& inspection, int64_t toUs) {
    int64_t endUs = 0;
    for (const StreamSeen& stream : inspection.streams)
        endUs = std::max(endUs, stream.lastMs * 1000);
    std::vector<MuxDetails::Chapter> chapters;
    for (const CuePoint& point : CuePointsOf(inspection)) {
        if (!point.isForViewers() || point.timeUs >= toUs) continue;
        if (!chapters.empty()) chapters.back().endUs = point.timeUs;
        chapters.push_back({point.timeUs, std::max(point.timeUs, std::min(endUs, toUs)), Utf8(point.name)});
    }
    return chapters;
}

void SetFrameRate(const StreamSeen& video, MuxDetails* details) {
    std::optional<FrameRate> rate = video.frameRate();
    if (!rate || !video.hasEvenFrames() || rate->numerator > INT_MAX || rate->denominator > INT_MAX) return;
    details->frameRateNumerator = static_cast<int>(rate->numerator);
    details->frameRateDenominator = static_cast<int>(rate->denominator);
}

int RotationOf(const Metadata& metadata) {
    double degrees = metadata.findNumber("rotation").value_or(0);
    bool isRightAngle = std::abs(degrees) <= 360 && std::fmod(degrees, 90) == 0;
    return isRightAngle ? (static_cast<int>(degrees) + 360) % 360 : 0;
}

std::string DroppedCuePoints(const Inspection& inspection, bool hasChapters) {
    std::string names;
    size_t dropped = 0;
    for (const CuePoint& point : CuePointsOf(inspection)) {
        if (hasChapters && point.isForViewers()) continue;
        if (++dropped <= kMostNamedCuePoints)
            names += fmt::format("{}{} at {} s", dropped > 1 ? ", " : "", point.name,
                                 FormatSeconds(point.timeUs));
    }
    if (dropped > kMostNamedCuePoints) names += fmt::format(" and {} more", dropped - kMostNamedCuePoints);
    const char* why = hasChapters ? "not for navigation" : "for which the container has no chapters";
    return dropped == 0 ? "" : fmt::format("{} {} ({})", CountText(dropped, "cue point"), why, names);
}

}  // namespace

MuxDetails DetailsOf(const Inspection& inspection, const StreamSeen* video, int64_t toUs) {
    MuxDetails details;
    if (inspection.metadata) {
        AddTags(inspection.metadata->properties, &details);
        details.rotationDegrees = RotationOf(*inspection.metadata);
    }
    details.chapters = FindChapters(inspection, toUs);
    if (video != nullptr) SetFrameRate(*video, &details);
    return details;
}

std::string DroppedScripts(const Inspection& inspection, bool hasChapters) {
    std::string text = DroppedCuePoints(inspection, hasChapters);
    for (const auto& [name, count] : inspection.scripts.counts) {
        if (name == kCuePointName && inspection.scripts.keepsAll()) continue;
        text += fmt::format("{}{} ({})", text.empty() ? "" : ", ", name.empty() ? "of other names" : name,
                            CountText(count.tags, "tag"));
    }
    return text;
}

}  // namespace orvel
