// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Export.h"

namespace android {

// Gathers a 4:2:0 picture of 8 bits a sample from three planes (src: Y, U, V) into one buffer.
//
// The source's luma rows lie stride bytes apart, its chroma rows stride >> 1. A negative stride walks a
// bottom-up picture, each plane pointer being at the row shown first.
//
// In dst, with AW the width rounded up to a multiple of 16:
//   plane  starts at                         rows        pitch   bytes written per row
//   Y      0                                 height      AW      AW
//   U      AW * height                       height / 2  AW / 2  width / 2
//   V      AW * height + height / 2 * AW / 2 height / 2  AW / 2  width / 2
// Chroma bytes between width / 2 and the pitch are left as they were.
//
// The caller sees to it that dst holds AW * height + height / 2 * AW bytes, that AW bytes (not width) can be
// read from the start of every luma row and width / 2 from every chroma row, and that source and dst do not
// overlap. A width or height below 1 copies nothing.
ORVEL_API void copyDataYUV420(unsigned char* dst, unsigned char** src, int stride, int width, int height);

}  // namespace android
