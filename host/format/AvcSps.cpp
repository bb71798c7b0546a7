// SPDX-License-Identifier: Apache-2.0
#include "format/AvcSps.h"

#include <algorithm>
#include <iterator>
#include <vector>

#include "format/BitReader.h"

namespace orvel {
namespace {

constexpr uint32_t kNalSps = 7;
// Profiles whose sets tell the chroma format.
constexpr uint32_t kProfilesWithChroma[] = {100, 110, 122, 244, 44, 83, 86, 118, 128, 138, 139, 134, 135};
constexpr uint64_t kMostCycle = 255, kLargestInMacroblocks = 1 << 14;

std::vector<uint8_t> RemoveEmulationPrevention(ByteSpan unit) {
    std::vector<uint8_t> bytes;
    for (size_t i = 0; i < unit.size; ++i) {
        bool isPrevention = i >= 2 && unit[i] == 3 && unit[i - 1] == 0 && unit[i - 2] == 0;
        if (!isPrevention) bytes.push_back(unit[i]);
    }
    return bytes;
}

// Wide enough for what is added to it.
uint64_t Ue(BitReader& bits) {
    size_t zeros = 0;
    while (bits.ok() && zeros < 32 && bits.bits(1) == 0)
        ++zeros;
    return (uint64_t{1} << zeros) - 1 + bits.bits(zeros);
}

void SkipScalingLists(BitReader& bits, uint32_t count) {
    for (uint32_t i = 0; i < count; ++i) {
        if (bits.bits(1) == 0) continue;
        int64_t last = 8, next = 8;
        for (int j = 0; j < (i < 6 ? 16 : 64) && bits.ok(); ++j) {
            if (next != 0) {
                uint64_t code = Ue(bits);
                auto delta = static_cast<int64_t>((code + 1) / 2);
                next = (last + (code % 2 == 1 ? delta : -delta)) & 255;
            }
            last = next == 0 ? last : next;
        }
    }
}

// Result: chroma_format_idc.
uint64_t ReadChroma(BitReader& bits, uint32_t profile) {
    bool has = std::find(std::begin(kProfilesWithChroma), std::end(kProfilesWithChroma), profile) !=
               std::end(kProfilesWithChroma);
    if (!has) return 1;
    uint64_t chroma = Ue(bits);
    if (chroma == 3) bits.bits(1);
    Ue(bits);
    Ue(bits);
    bits.bits(1);
    if (bits.bits(1) != 0) SkipScalingLists(bits, chroma == 3 ? 12 : 8);
    return chroma;
}

void SkipOrderCount(BitReader& bits) {
    Ue(bits);  // log2_max_frame_num_minus4
    uint64_t type = Ue(bits);
    if (type == 0) Ue(bits);
    if (type != 1) return;
    bits.bits(1);
    Ue(bits);
    Ue(bits);
    uint64_t cycle = std::min(Ue(bits), kMostCycle);
    for (uint64_t i = 0; i < cycle; ++i)
        Ue(bits);
}

}  // namespace

std::optional<AvcPictureSize> ParseAvcPictureSize(ByteSpan sps) {
    const std::vector<uint8_t> bytes = RemoveEmulationPrevention(sps);
    BitReader bits{ByteSpan(bytes)};
    if ((bits.bits(8) & 31) != kNalSps) return std::nullopt;
    uint32_t profile = bits.bits(8);
    bits.bits(16);
    Ue(bits);
    uint64_t chroma = ReadChroma(bits, profile);
    SkipOrderCount(bits);
    Ue(bits);
    bits.bits(1);
    uint64_t pic_width_in_mbs = Ue(bits) + 1, pic_height_in_map_units = Ue(bits) + 1;
    uint32_t frame_mbs_only_flag = bits.bits(1);
    if (frame_mbs_only_flag == 0) bits.bits(1);
    bits.bits(1);
    uint64_t crop[4] = {};
    if (bits.bits(1) != 0)
        for (uint64_t& side : crop)
            side = Ue(bits);
    bool isSane = pic_width_in_mbs > 0 && pic_width_in_mbs <= kLargestInMacroblocks &&
                  pic_height_in_map_units > 0 && pic_height_in_map_units <= kLargestInMacroblocks;
    if (!bits.ok() || !isSane) return std::nullopt;
    uint64_t unitX = chroma == 1 || chroma == 2 ? 2 : 1,
             unitY = (chroma == 1 ? 2 : 1) * (2 - frame_mbs_only_flag);
    uint64_t width = pic_width_in_mbs * 16, height = pic_height_in_map_units * 16 * (2 - frame_mbs_only_flag);
    uint64_t offX = unitX * (crop[0] + crop[1]), offY = unitY * (crop[2] + crop[3]);
    if (offX >= width || offY >= height) return std::nullopt;
    return AvcPictureSize{static_cast<uint32_t>(width - offX), static_cast<uint32_t>(height - offY)};
}

}  // namespace orvel
