// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdexcept>
#include <string>

namespace orvel {

// What the program ends with. Of several files the worst counts: see Worse().
enum class ExitCode : int {
    kDone = 0,
    kDamaged = 1,      // an input is damaged, or is not FLV, or holds nothing that was asked for
    kUsage = 2,        // the command line cannot be understood
    kInputOutput = 3,  // a file, the network, standard output or the plug-in could not be used
    kIncomplete = 4,   // the output is whole, but holds not all of the input
};

// The one of two that says more: what is incomplete is whole as far as it goes, and so counts least.
inline ExitCode Worse(ExitCode left, ExitCode right) {
    auto rank = [](ExitCode code) {
        return code == ExitCode::kDone ? -1 : code == ExitCode::kIncomplete ? 0 : static_cast<int>(code);
    };
    return rank(left) < rank(right) ? right : left;
}

// The one exception of the program: work on the current file ends, and the message goes to standard error
// as one line. The message names what failed and where; whoever catches it adds nothing but the program's
// name.
class Failure : public std::runtime_error {
  public:
    Failure(ExitCode code, const std::string& message) : std::runtime_error(message), mCode(code) {}
    ExitCode code() const { return mCode; }

  private:
    ExitCode mCode;
};

}  // namespace orvel
