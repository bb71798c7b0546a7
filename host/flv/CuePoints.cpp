// SPDX-License-Identifier: Apache-2.0
#include "flv/CuePoints.h"

#include <algorithm>
#include <tuple>

namespace orvel {
namespace {

// Of what timestamps reach.
constexpr double kMostSeconds = UINT32_MAX / 1000.0;

// One told twice differs by what rounding to a frame's time makes of it.
constexpr int64_t kSameUs = 100000;

std::string Text(const AmfValue& object, const char* name) {
    const AmfValue* value = object.find(name);
    return value != nullptr && value->type == AmfValue::Type::kString ? value->text : "";
}

void Add(const AmfValue& object, double seconds, std::vector<CuePoint>* points) {
    const AmfValue* time = object.find("time");
    if (time != nullptr && time->type == AmfValue::Type::kNumber) seconds = time->number;
    if (!(seconds >= 0 && seconds <= kMostSeconds)) return;
    points->push_back(
            {static_cast<int64_t>(seconds * 1e6 + 0.5), Text(object, "name"), Text(object, "type")});
}

}  // namespace

std::vector<CuePoint> ReadCuePoints(const std::optional<Metadata>& metadata,
                                    const std::vector<ScriptEvent>& events) {
    constexpr double kNoTime = -1;
    std::vector<CuePoint> points;
    const AmfValue* listed = metadata ? metadata->properties.find("cuePoints") : nullptr;
    if (listed != nullptr) {
        for (const AmfValue& point : listed->values)
            Add(point, kNoTime, &points);
        // As an ECMA array, whose members are named by numbers.
        for (const auto& [number, point] : listed->members)
            Add(point, kNoTime, &points);
    }
    for (const ScriptEvent& event : events) {
        if (event.name == kCuePointName && !event.values.empty())
            Add(event.values[0], event.timeMs / 1000.0, &points);
    }
    auto byName = [](const CuePoint& a, const CuePoint& b) {
        return std::tie(a.name, a.timeUs) < std::tie(b.name, b.timeUs);
    };
    auto isSame = [](const CuePoint& a, const CuePoint& b) {
        return a.name == b.name && b.timeUs - a.timeUs <= kSameUs;
    };
    std::sort(points.begin(), points.end(), byName);
    points.erase(std::unique(points.begin(), points.end(), isSame), points.end());
    auto isEarlier = [](const CuePoint& a, const CuePoint& b) { return a.timeUs < b.timeUs; };
    std::stable_sort(points.begin(), points.end(), isEarlier);
    return points;
}

}  // namespace orvel
