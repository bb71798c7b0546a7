// SPDX-License-Identifier: Apache-2.0
#include "command/CommandLine.h"

int main(int argc, char** argv) {
    return orvel::RunCommandLine(argc, argv);
}
