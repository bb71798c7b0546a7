// SPDX-License-Identifier: Apache-2.0
// Takes the place of the device's codec library and tells when it is loaded, asked and unloaded.
#include <stdint.h>
#include <stdio.h>

__attribute__((constructor)) static void loaded() {
    fputs("loaded\n", stderr);
}
__attribute__((destructor)) static void unloaded() {
    fputs("unloaded\n", stderr);
}

#ifdef WITH_FUNCTION
extern "C" uint32_t FfmpegGetCodecIDFromFourCC(uint32_t fourcc) {
    fprintf(stderr, "asked %x\n", fourcc);
    return fourcc | 0x80000000;
}
#endif
