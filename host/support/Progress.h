// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>

#include <chrono>
#include <string>

namespace orvel {

enum class ProgressMode {
    kTerminal,  // a line that rewrites itself, only where standard error is a terminal
    kNone,
    kJson,  // a JSON object a line, on whatever standard error is
};
// For the whole program; kTerminal until it is called.
void SetProgressMode(ProgressMode mode);

// How far the work on one input is, told on standard error once it has taken half a second, and twice a
// second from then on: per cent, rate, time left; it never goes back. One at a time; its line on a terminal
// is gone when it is destroyed.
class Progress {
  public:
    // total: what update() counts up to, in bytes of the input. 0 when unknown, and nothing is told.
    Progress(const std::string& name, int64_t total);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    void update(int64_t done);

    // The work is done. A program that was told of it before is told that, too: 100 per cent.
    void finish();

  private:
    using Clock = std::chrono::steady_clock;
    void tell(Clock::time_point now) const;

    const std::string mName;
    const int64_t mTotal;
    const Clock::time_point mStart = Clock::now();
    Clock::time_point mNext;
    int64_t mDone = 0;
    unsigned mCalls = 0;
    bool mHasTold = false;
};

}  // namespace orvel
