// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstddef>

namespace orvel {

// Notices a transfer that goes silent or merely drips: each period has to bring kLeastBytes, and a new
// period begins when they are there. A measure of its own, because libcurl's speed limit judges the mean of
// several seconds past and thus finds a stall the later, the faster the data came before.
class StallWatch {
  public:
    static constexpr size_t kLeastBytes = 1024;

    explicit StallWatch(std::chrono::seconds period) : period_(period) {}

    // Nothing is being waited for: never stalled until the next start().
    void stop() { running_ = false; }

    void start() {
        running_ = true;
        begin_ = Clock::now();
        bytes_ = 0;
    }

    void arrived(size_t bytes) {
        bytes_ += bytes;
        if (bytes_ >= kLeastBytes) start();
    }

    bool stalled() const { return running_ && Clock::now() - begin_ >= period_; }

  private:
    using Clock = std::chrono::steady_clock;

    std::chrono::seconds period_;
    bool running_ = false;
    Clock::time_point begin_;
    size_t bytes_ = 0;
};

}  // namespace orvel
