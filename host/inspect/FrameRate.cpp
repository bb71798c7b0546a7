// SPDX-License-Identifier: Apache-2.0
#include <cmath>
#include <numeric>

#include "inspect/Inspection.h"

namespace orvel {
namespace {

// Timestamps are whole milliseconds: equal steps differ by one, and a span is off by one at either end.
constexpr int64_t kEvenSlackMs = 1;
constexpr double kRoundingMs = 2;
constexpr double kNtsc = 1.001;

// Whether frames at this rate take so long, but for the rounding.
bool Takes(int64_t frames, double rate, int64_t ms) {
    return std::abs(static_cast<double>(frames) * 1000 / rate - static_cast<double>(ms)) <= kRoundingMs;
}

}  // namespace

std::optional<FrameRate> StreamSeen::frameRate() const {
    int64_t ms = lastMs - firstMs, frames = static_cast<int64_t>(samples) - 1;
    if (frames < 1 || ms <= 0) return std::nullopt;
    double mean = static_cast<double>(frames) * 1000 / static_cast<double>(ms);
    int64_t whole = std::llround(mean), ntsc = std::llround(mean * kNtsc);
    if (whole > 0 && Takes(frames, static_cast<double>(whole), ms)) return FrameRate{whole, 1};
    if (ntsc > 0 && Takes(frames, static_cast<double>(ntsc) / kNtsc, ms)) return FrameRate{ntsc * 1000, 1001};
    int64_t divisor = std::gcd(frames * 1000, ms);
    return FrameRate{frames * 1000 / divisor, ms / divisor};
}

bool StreamSeen::hasEvenFrames() const {
    return samples > 1 && longestStepMs - shortestStepMs <= kEvenSlackMs;
}

}  // namespace orvel
