// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace orvel {

// The whole program: arguments in, exit code out (ExitCode). Never throws.
int RunCommandLine(int argc, const char* const* argv);

}  // namespace orvel
