// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

namespace orvel {

// The first HEVC NAL unit of a type in Annex B data, found in another way than the library's: every start
// code, then the distance to the next one. Empty when there is none.
inline std::vector<uint8_t> FirstUnit(const std::vector<uint8_t>& csd, unsigned type) {
    const uint8_t kStartCode[] = {0, 0, 1};
    auto find = [&](auto from) { return std::search(from, csd.end(), kStartCode, kStartCode + 3); };
    for (auto at = find(csd.begin()); at != csd.end(); at = find(at + 3)) {
        std::vector<uint8_t> unit(at + 3, find(at + 3));
        while (unit.size() > 1 && unit.back() == 0)
            unit.pop_back();
        const bool behindFirst = at != find(csd.begin());
        if (unit.empty() || (behindFirst && csd.end() - at < 5)) continue;
        if ((unit[0] >> 1 & 0x3F) == type) return unit;
    }
    return {};
}

}  // namespace orvel
