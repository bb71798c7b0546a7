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

struct Run {
    using Clock = std::chrono::steady_clock;
    Clock::time_point start = Clock::now();
    Clock::time_point next = start + kPeriod;
    size_t index = 1, count = 1;
    int64_t bytesBehind = 0;  // of the inputs before
    bool hasTold = false;

    bool isLast() const { return index >= count; }
};
Run gRun;

std::string Short(const std::string& name) {
    return name.size() <= kLongestName ? name : "..." + name.substr(name.size() - kLongestName);
}

}  // namespace

void SetProgressMode(ProgressMode mode) {
    gMode = mode;
    gRun = Run();
}

void SetProgressPlace(size_t index, size_t count) {
    gRun.index = index;
    gRun.count = count;
}

Progress::Progress(const std::string& name, int64_t total) : mName(name), mTotal(total) {}

Progress::~Progress() {
    gRun.bytesBehind += mDone;
    if (gRun.isLast()) ClearStatus();
}

void Progress::update(int64_t done) {
    if (gMode == ProgressMode::kNone || mTotal <= 0) return;
    mDone = std::clamp(done, mDone, mTotal);
    if (mCalls++ % kCallsPerLook != 0) return;
    Clock::time_point now = Clock::now();
    if (now < gRun.next) return;
    gRun.next = now + kPeriod;
    gRun.hasTold = mHasTold = true;
    tell(now);
}

void Progress::finish() {
    mDone = mTotal;
    if (mTotal <= 0) return;
    if (mHasTold || (gRun.hasTold && gRun.isLast())) tell(Clock::now());
}

void Progress::tell(Clock::time_point now) const {
    double share = static_cast<double>(mDone) / static_cast<double>(mTotal);
    double seconds = std::chrono::duration<double>(now - gRun.start).count();
    double rate = static_cast<double>(gRun.bytesBehind + mDone) / seconds;
    double inputsDone = static_cast<double>(gRun.index - 1) + share;
    double inputsLeft = static_cast<double>(gRun.count) - inputsDone;
    auto left = static_cast<int64_t>(inputsDone > 0 ? seconds * inputsLeft / inputsDone + 0.5 : 0);
    if (gMode == ProgressMode::kJson) {
        nlohmann::ordered_json line = {{"file", mName},
                                       {"index", gRun.index},
                                       {"count", gRun.count},
                                       {"percent", static_cast<int>(share * 100)},
                                       {"bytes", mDone},
                                       {"total", mTotal},
                                       {"bytes_per_second", static_cast<int64_t>(rate)},
                                       {"seconds_left", left}};
        std::string text = line.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n";
        fwrite(text.data(), 1, text.size(), stderr);
        return;
    }
    if (isatty(STDERR_FILENO) == 0) return;
    std::string place = gRun.count > 1 ? fmt::format(", file {} of {}", gRun.index, gRun.count) : "";
    ShowStatus(fmt::format("{}: {:.0f} %{}, {:.1f} MB/s, {}:{:02} left", Short(mName), share * 100, place,
                           rate / 1e6, left / 60, left % 60));
}

}  // namespace orvel
