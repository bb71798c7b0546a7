// SPDX-License-Identifier: Apache-2.0
#include "remux/DecodingTimes.h"

#include <algorithm>

namespace orvel {
namespace {

constexpr int64_t kTypicalDistanceUs = 40000;

int64_t MedianDistance(const std::vector<int64_t>& sorted) {
    std::vector<int64_t> distances;
    for (size_t i = 1; i < sorted.size(); ++i) {
        if (sorted[i] > sorted[i - 1]) distances.push_back(sorted[i] - sorted[i - 1]);
    }
    if (distances.empty()) return kTypicalDistanceUs;
    auto middle = distances.begin() + static_cast<std::ptrdiff_t>(distances.size() / 2);
    std::nth_element(distances.begin(), middle, distances.end());
    return *middle;
}

// Between the times put in front. They stay at zero and above where the first presentation time leaves the
// room, since not every container has times below.
int64_t Distance(const std::vector<int64_t>& sorted, int64_t depth) {
    int64_t room = sorted.front() / depth;
    int64_t distance = MedianDistance(sorted);
    return room > 0 ? std::min(distance, room) : distance;
}

}  // namespace

// Only the latest times so far can be after a sample's; no more of them are kept than pictures can wait.
size_t ReorderDepth(const std::vector<int64_t>& times) {
    size_t depth = 0;
    std::vector<int64_t> latest;  // rising
    for (int64_t timeUs : times) {
        auto later = std::upper_bound(latest.begin(), latest.end(), timeUs);
        depth = std::max(depth, static_cast<size_t>(latest.end() - later));
        latest.insert(later, timeUs);
        if (latest.size() > kDeepestReordering) latest.erase(latest.begin());
    }
    return depth;
}

DecodingTimes::DecodingTimes(size_t depth, const std::vector<int64_t>& times) {
    depth = std::max(depth, ReorderDepth(times));
    if (depth == 0 || times.empty()) return;
    std::vector<int64_t> sorted = times;
    std::sort(sorted.begin(), sorted.end());
    int64_t distance = Distance(sorted, static_cast<int64_t>(depth));
    for (size_t i = 1; i <= depth; ++i)
        mPending.push(sorted.front() - static_cast<int64_t>(i) * distance);
}

int64_t DecodingTimes::next(int64_t timeUs) {
    mPending.push(timeUs);
    int64_t earliest = mPending.top();
    mPending.pop();
    return earliest;
}

}  // namespace orvel
