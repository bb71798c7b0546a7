// SPDX-License-Identifier: Apache-2.0
// Asks the device's codec library twice. A program of its own, because a process keeps the search path that
// it was started with.
#include <stdio.h>

#include "CodecRegistry.h"

int main() {
    const unsigned fourccs[] = {0x31637661, 0xFFFF};
    for (unsigned fourcc : fourccs)
        fprintf(stderr, "= %x\n", android::getCodecIDFromFourCC(fourcc));
}
