// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <queue>
#include <string>
#include <vector>

#include "writer/AtomicFile.h"

namespace orvel {

// A timestamp file of format v2, as mkvmerge takes it: one time in milliseconds a line, in presentation
// order. Samples come in decoding order; the deepest reordering that H.264 and H.265 know is 16 pictures, so
// a window of 32 sorts them in flat memory. A time that goes back further cannot be said in this format: it
// is written as the time before it, and counted.
class TimestampFile {
  public:
    explicit TimestampFile(AtomicFile& file);
    void add(int64_t timeUs);
    void finish();
    std::string remark() const;

  private:
    void writeEarliest();

    AtomicFile& mFile;
    std::priority_queue<int64_t, std::vector<int64_t>, std::greater<int64_t>> mWindow;
    int64_t mLastUs;
    uint64_t mGoneBack = 0;
};

}  // namespace orvel
