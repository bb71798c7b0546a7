// SPDX-License-Identifier: Apache-2.0
#include "format/ParameterSets.h"

#include <fmt/format.h>

#include "Utils.h"

namespace orvel {
namespace {

constexpr size_t kAvcFixedSize = 6;
constexpr size_t kHevcFixedSize = 23;
constexpr uint8_t kHevcNalSps = 33;
constexpr uint8_t kProfileBaseline = 66, kProfileMain = 77, kProfileExtended = 88;
constexpr uint8_t kConstraintSet1 = 0x40, kConstraintSet3 = 0x10;

struct ProfileName {
    uint8_t idc;
    const char* name;
};
constexpr ProfileName kAvcProfiles[] = {
        {44, "CAVLC 4:4:4 Intra"},
        {kProfileBaseline, "Baseline"},
        {kProfileMain, "Main"},
        {kProfileExtended, "Extended"},
        {100, "High"},
        {110, "High 10"},
        {122, "High 4:2:2"},
        {244, "High 4:4:4 Predictive"},
};
constexpr ProfileName kHevcProfiles[] = {
        {1, "Main"},
        {2, "Main 10"},
        {3, "Main Still Picture"},
        {4, "Rext"},
};

template <size_t n>
std::string NameOf(const ProfileName (&names)[n], uint8_t idc) {
    for (const ProfileName& row : names) {
        if (row.idc == idc) return row.name;
    }
    return "";
}

std::string AvcLevel(uint8_t profile, uint8_t compatibility, uint8_t level) {
    bool hasLevel1b = profile == kProfileBaseline || profile == kProfileMain || profile == kProfileExtended;
    if (level == 9 || (level == 11 && hasLevel1b && (compatibility & kConstraintSet3) != 0)) return "1b";
    return fmt::format("{}.{}", level / 10, level % 10);
}

// Takes count units, each behind a 16-bit length, off the front. False when the record ends before they do.
bool TakeUnits(ByteSpan* rest, size_t count, std::vector<std::vector<uint8_t>>* units) {
    for (size_t i = 0; i < count; ++i) {
        if (rest->size < 2) return false;
        size_t size = android::U16_AT(rest->data);
        if (size > rest->size - 2) return false;
        ByteSpan unit = rest->from(2).first(size);
        if (size > 0) units->emplace_back(unit.data, unit.data + unit.size);
        *rest = rest->from(2 + size);
    }
    return true;
}

}  // namespace

std::optional<ParameterSets> ParseAvcConfiguration(ByteSpan record) {
    if (record.size < kAvcFixedSize) return std::nullopt;
    ParameterSets sets;
    uint8_t profile = record[1], compatibility = record[2];
    sets.profile = NameOf(kAvcProfiles, profile);
    if (profile == kProfileBaseline && (compatibility & kConstraintSet1) != 0) {
        sets.profile = "Constrained Baseline";
    }
    sets.levelIdc = record[3];
    sets.level = AvcLevel(profile, compatibility, record[3]);
    sets.nalLengthSize = (record[4] & 3u) + 1;
    ByteSpan rest = record.from(kAvcFixedSize);
    if (TakeUnits(&rest, record[5] & 0x1fu, &sets.units) && rest.size > 0) {
        size_t count = rest[0];
        rest = rest.from(1);
        TakeUnits(&rest, count, &sets.units);
    }
    return sets;
}

std::optional<ParameterSets> ParseHevcConfiguration(ByteSpan record) {
    if (record.size < kHevcFixedSize) return std::nullopt;
    ParameterSets sets;
    sets.profile = NameOf(kHevcProfiles, record[1] & 0x1f);
    sets.levelIdc = record[12];
    sets.level = fmt::format("{}.{}", record[12] / 30, record[12] % 30 / 3);
    sets.nalLengthSize = (record[21] & 3u) + 1;
    ByteSpan rest = record.from(kHevcFixedSize);
    for (size_t array = 0; array < record[22] && rest.size >= 3; ++array) {
        uint8_t type = rest[0] & 0x3f;
        size_t count = android::U16_AT(rest.data + 1);
        size_t firstOfArray = sets.units.size();
        rest = rest.from(3);
        bool whole = TakeUnits(&rest, count, &sets.units);
        for (size_t i = firstOfArray; type == kHevcNalSps && i < sets.units.size(); ++i) {
            sets.units[i] = RestoreEmulationPrevention(sets.units[i]);
        }
        if (!whole) break;
    }
    return sets;
}

std::vector<uint8_t> RestoreEmulationPrevention(ByteSpan unit) {
    constexpr size_t kHeaderSize = 2;
    std::vector<uint8_t> restored;
    restored.reserve(unit.size);
    size_t zeros = 0;
    for (size_t i = 0; restored.size() < unit.size;) {
        if (i >= kHeaderSize && zeros >= 2 && unit[i] <= 3) {
            restored.push_back(3);
            zeros = 0;
            continue;
        }
        zeros = i >= kHeaderSize && unit[i] == 0 ? zeros + 1 : 0;
        restored.push_back(unit[i++]);
    }
    return restored;
}

}  // namespace orvel
