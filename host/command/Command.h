// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>

#include "command/Session.h"
#include "support/Failure.h"

namespace CLI {
class App;
}

namespace orvel {

// One subcommand. It states its options once, and runs when it was the one named; its options' values are its
// members.
class Command {
  public:
    virtual ~Command() = default;

    // Adds the subcommand to the program's and returns it.
    virtual CLI::App* addTo(CLI::App& program) = 0;

    // Result: the worst of what its inputs ended in. A Failure ends the program.
    virtual ExitCode run(Session& session) = 0;
};

// A new subcommand is a file with one of these functions, and a row in CommandLine.cpp.
std::unique_ptr<Command> MakeProbeCommand();
std::unique_ptr<Command> MakeExtractCommand();
std::unique_ptr<Command> MakeRemuxCommand();
std::unique_ptr<Command> MakeThumbnailCommand();
std::unique_ptr<Command> MakeCheckCommand();
std::unique_ptr<Command> MakeMapCommand();

}  // namespace orvel
