// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

namespace orvel {

// Makes the platform log the program's own: silent at verbosity 0 but for fatal lines, from info priority on
// at 1, everything at 2 and above; on standard error, with control characters escaped. Call once, at the
// start.
void SetUpPlatformLog(int verbosity);

// Keeps the lines that the plug-in logs on this thread while the catcher lives, whether or not they are
// shown: some of what the plug-in decides can be learnt in no other way. One at a time; at most the first 256
// lines are kept.
class LogCatcher {
  public:
    LogCatcher();
    ~LogCatcher();
    LogCatcher(const LogCatcher&) = delete;
    LogCatcher& operator=(const LogCatcher&) = delete;

    // The first line kept that begins with the text; null when there is none.
    const std::string* find(const std::string& beginning) const;

    void keep(const char* line);

  private:
    std::vector<std::string> mLines;
};

}  // namespace orvel
