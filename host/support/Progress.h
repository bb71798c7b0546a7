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
// For the whole program, whose run begins with the call; kTerminal until then.
void SetProgressMode(ProgressMode mode);

// That the work on the index-th (from 1 on) of count inputs begins; 1 of 1 until it is called. The clock is
// the run's: many small inputs take as long as a large one.
void SetProgressPlace(size_t index, size_t count);

// How far the work on one input is, told on standard error once the run has taken half a second, and twice a
// second from then on: per cent of the input, which one of how many it is, the run's rate, and the time left
// to its end, as far as the inputs to come are like those behind. It never goes back for an input. One at a
// time; the line on a terminal is gone when the last input's is destroyed.
class Progress {
  public:
    // total: what update() counts up to, in bytes of the input. 0 when unknown, and nothing is told.
    Progress(const std::string& name, int64_t total);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    void update(int64_t done);

    // The work is done. A program that was told of this input before is told that, too: 100 per cent; of the
    // last input also one that was told of any.
    void finish();

  private:
    using Clock = std::chrono::steady_clock;
    void tell(Clock::time_point now) const;

    const std::string mName;
    const int64_t mTotal;
    int64_t mDone = 0;
    unsigned mCalls = 0;
    bool mHasTold = false;
};

}  // namespace orvel
