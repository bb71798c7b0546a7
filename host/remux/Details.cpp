// SPDX-License-Identifier: Apache-2.0
#include "remux/Details.h"

#include <fmt/format.h>
#include <time.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <string_view>

#include "support/CountText.h"

namespace orvel {
namespace {

constexpr char kCuePoint[] = "onCuePoint";
constexpr size_t kLongestTag = 4096;
constexpr size_t kMostTags = 64, kMostChapters = 1000;
constexpr double kLatest = 1e9;  // seconds; also what dates are within

// Names of onMetaData that the libraries have another one for.
constexpr struct {
    std::string_view ours, theirs;
} kNames[] = {{"author", "artist"},
              {"creator", "artist"},
              {"description", "comment"},
              {"creationdate", "creation_time"},
              {"metadatacreator", "encoded_by"},
              {"software", "encoded_by"},
              {"encoder", "encoded_by"},
              {"title", "title"},
              {"artist", "artist"},
              {"comment", "comment"},
              {"copyright", "copyright"},
              {"date", "date"}};

// The character as \xNN that is not UTF-8 would make a container that readers refuse.
bool IsText(std::string_view text) {
    for (size_t i = 0; i < text.size();) {
        auto byte = static_cast<unsigned char>(text[i]);
        size_t more = byte < 0x80             ? 0
                      : (byte & 0xe0) == 0xc0 ? 1
                      : (byte & 0xf0) == 0xe0 ? 2
                      : (byte & 0xf8) == 0xf0 ? 3
                                              : 9;
        if (byte == 0 || more > text.size() - i - 1) return false;
        for (size_t k = 1; k <= more; ++k)
            if ((static_cast<unsigned char>(text[i + k]) & 0xc0) != 0x80) return false;
        i += more + 1;
    }
    return !text.empty() && text.size() <= kLongestTag;
}

std::string DateText(double ms) {
    if (!(std::abs(ms) / 1000 < 100 * kLatest)) return "";
    auto seconds = static_cast<time_t>(ms / 1000);
    struct tm parts;
    char text[40];
    if (gmtime_r(&seconds, &parts) == nullptr) return "";
    return strftime(text, sizeof(text), "%Y-%m-%dT%H:%M:%SZ", &parts) > 0 ? text : "";
}

std::string TagName(const std::string& name) {
    for (const auto& row : kNames) {
        if (name == row.ours) return std::string(row.theirs);
    }
    return name;
}

void AddTags(const AmfValue& properties, MuxDetails* details) {
    for (const auto& [name, value] : properties.members) {
        std::string text = value.type == AmfValue::Type::kString ? value.text
                           : value.type == AmfValue::Type::kDate ? DateText(value.number)
                                                                 : "";
        if (IsText(name) && IsText(text) && details->tags.size() < kMostTags)
            details->tags.emplace_back(TagName(name), text);
    }
}

bool IsNavigation(const AmfValue& cue) {
    const AmfValue* type = cue.find("type");
    return type != nullptr && type->text == "navigation";
}

void AddChapter(const AmfValue& cue, int64_t fromUs, int64_t toUs,
                std::vector<MuxDetails::Chapter>* chapters) {
    const AmfValue *name = cue.find("name"), *time = cue.find("time");
    if (!IsNavigation(cue) || time == nullptr || !(time->number >= 0 && time->number < kLatest)) return;
    auto timeUs = static_cast<int64_t>(time->number * 1e6);
    if (timeUs < fromUs || timeUs >= toUs || chapters->size() == kMostChapters) return;
    chapters->push_back({timeUs, name != nullptr && IsText(name->text) ? name->text : "Chapter"});
}

// Writers put cue points into onMetaData, into tags of their own, or into both.
std::vector<MuxDetails::Chapter> FindChapters(const Inspection& inspection, int64_t fromUs, int64_t toUs) {
    std::vector<MuxDetails::Chapter> chapters;
    for (const ScriptEvent& event : inspection.scripts.events) {
        if (event.name == kCuePoint && !event.values.empty())
            AddChapter(event.values[0], fromUs, toUs, &chapters);
    }
    const AmfValue* cues = inspection.metadata ? inspection.metadata->properties.find("cuePoints") : nullptr;
    if (cues != nullptr && chapters.empty()) {
        for (const AmfValue& cue : cues->values)
            AddChapter(cue, fromUs, toUs, &chapters);
        for (const auto& [number, cue] : cues->members)
            AddChapter(cue, fromUs, toUs, &chapters);
    }
    std::stable_sort(chapters.begin(), chapters.end(),
                     [](const auto& a, const auto& b) { return a.startUs < b.startUs; });
    return chapters;
}

void SetFrameRate(const StreamSeen& video, MuxDetails* details) {
    std::optional<FrameRate> rate = video.frameRate();
    if (!rate || !video.hasEvenFrames()) return;
    details->frameRateNumerator = static_cast<int>(rate->numerator);
    details->frameRateDenominator = static_cast<int>(rate->denominator);
}

}  // namespace

MuxDetails DetailsOf(const Inspection& inspection, const StreamSeen* video, int64_t fromUs, int64_t toUs) {
    MuxDetails details;
    if (inspection.metadata) {
        AddTags(inspection.metadata->properties, &details);
        double rotation = inspection.metadata->findNumber("rotation").value_or(0);
        if (rotation == 90 || rotation == 180 || rotation == 270)
            details.rotationDegrees = static_cast<int>(rotation);
    }
    details.chapters = FindChapters(inspection, fromUs, toUs);
    if (video != nullptr) SetFrameRate(*video, &details);
    return details;
}

std::string DroppedScripts(const Inspection& inspection, bool hasChapters) {
    std::map<std::string, uint64_t> dropped;
    for (const auto& [name, count] : inspection.scripts.counts)
        dropped[name] = count.tags;
    for (const ScriptEvent& event : inspection.scripts.events) {
        bool isChapter = event.name == kCuePoint && !event.values.empty() && IsNavigation(event.values[0]);
        if (hasChapters && isChapter) --dropped[event.name];
    }
    std::string text;
    for (const auto& [name, times] : dropped) {
        if (times == 0) continue;
        text += fmt::format("{}{} ({})", text.empty() ? "" : ", ", name.empty() ? "of other names" : name,
                            CountText(times, "tag"));
    }
    return text;
}

}  // namespace orvel
