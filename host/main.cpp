// SPDX-License-Identifier: Apache-2.0
#include <fcntl.h>
#include <unistd.h>

#include <initializer_list>

#include "command/CommandLine.h"

namespace {

// A standard descriptor that is closed would be given to the first file opened, and what is meant for the
// user would go into that. In its place comes one on which the same fails that would fail without it.
void OccupyStandardDescriptors() {
    for (int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(descriptor, F_GETFD) < 0)
            open("/dev/null", descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY);
    }
}

}  // namespace

int main(int argc, char** argv) {
    OccupyStandardDescriptors();
    return orvel::RunCommandLine(argc, argv);
}
