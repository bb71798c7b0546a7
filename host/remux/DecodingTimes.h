// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <functional>
#include <queue>
#include <vector>

namespace orvel {

// Decoding times for a track whose samples come in decoding order and bear presentation times only. The times
// that a decoder needs are the presentation times in rising order, put off by the depth of the reordering:
// the most samples that are decoded before one which is presented before them. The first samples get times
// before the earliest presentation time.
class DecodingTimes {
  public:
    // depth: as the stream declares it. Times: those of the first samples, in decoding order, which correct a
    // depth that is too small and tell the distance between samples.
    DecodingTimes(size_t depth, const std::vector<int64_t>& times);

    // The decoding time of the next sample, never after its presentation time. It never falls either, while
    // samples keep to the depth.
    int64_t next(int64_t timeUs);

  private:
    std::priority_queue<int64_t, std::vector<int64_t>, std::greater<int64_t>> mPending;
};

// The depth that the samples show, as far as kDeepestReordering.
constexpr size_t kDeepestReordering = 16;  // max_num_reorder_frames (H.264), sps_max_num_reorder_pics (H.265)
size_t ReorderDepth(const std::vector<int64_t>& times);

}  // namespace orvel
