// SPDX-License-Identifier: Apache-2.0
#include "support/Progress.h"

#include <stdio.h>
#include <unistd.h>

#include <algorithm>
#include <nlohmann/json.hpp>

#include "support/Terminal.h"

namespace orvel {
namespace {

constexpr std::chrono::milliseconds kPeriod{500};
// Reading the clock costs as much as a small tag does.
constexpr unsigned kCallsPerLook = 4;
// A line that wraps cannot be taken back.
constexpr size_t kLongestName = 40;

ProgressMode gMode = ProgressMode::kTerminal;

std::string Short(const std::string& name) {
    return name.size() <= kLongestName ? name : "..." + name.substr(name.size() - kLongestName);
}

}  // namespace

void SetProgressMode(ProgressMode mode) {
    gMode = mode;
}

Progress::Progress(const std::string& name, int64_t total)
    : mName(name), mTotal(total), mNext(mStart + kPeriod) {}

Progress::~Progress() {
    ClearStatus();
}

void Progress::update(int64_t done) {
    if (gMode == ProgressMode::kNone || mTotal <= 0) return;
    mDone = std::clamp(done, mDone, mTotal);
    if (mCalls++ % kCallsPerLook != 0) return;
    Clock::time_point now = Clock::now();
    if (now < mNext) return;
    mNext = now + kPeriod;
    mHasTold = true;
    tell(now);
}

void Progress::finish() {
    mDone = mTotal;
    if (mHasTold) tell(Clock::now());
}

void Progress::tell(Clock::time_point now) const {
    double share = static_cast<double>(mDone) / static_cast<double>(mTotal);
    double rate = static_cast<double>(mDone) / std::chrono::duration<double>(now - mStart).count();
    double left = rate > 0 ? static_cast<double>(mTotal - mDone) / rate : 0;
    if (gMode == ProgressMode::kJson) {
        nlohmann::ordered_json line = {{"file", mName},
                                       {"percent", static_cast<int>(share * 100)},
                                       {"bytes", mDone},
                                       {"total", mTotal},
                                       {"bytes_per_second", static_cast<int64_t>(rate)},
                                       {"seconds_left", static_cast<int64_t>(left + 0.5)}};
        std::string text = line.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n";
        fwrite(text.data(), 1, text.size(), stderr);
        return;
    }
    if (isatty(STDERR_FILENO) == 0) return;
    auto wait = static_cast<int64_t>(left + 0.5);
    ShowStatus(fmt::format("{}: {:.0f} %, {:.1f} MB/s, {}:{:02} left", Short(mName), share * 100, rate / 1e6,
                           wait / 60, wait % 60));
}

}  // namespace orvel
