// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Export.h"

namespace android {

// The two forms of an H.264 access unit:
//   IEC  each NAL unit behind the start code 00 00 00 01 (ISO/IEC 14496-10, Annex B)
//   AVC  each NAL unit behind its length in 4 bytes, big-endian (ISO/IEC 14496-15, lengthSizeMinusOne 3)

// Tells the form from the first four bytes: 0 for IEC, 1 for AVC (which includes a 3-byte start code),
// -1 when there are fewer than four bytes.
ORVEL_API int CheckH264Type(const unsigned char* data, int length);

// Turns the AVC form into the IEC form in place, without allocating. Stops at the first length that is
// negative or runs past the end and leaves the rest as it was. Returns the number of bytes converted: the
// whole length of a well-formed payload, 0 when not even the first length can be used or when there are fewer
// than four bytes.
ORVEL_API int H264DataPreprocess_AVC(unsigned char* data, int length);

// The counterpart for payloads that are in the wanted form already: touches nothing and returns length.
ORVEL_API int H264DataPreprocess_IEC(unsigned char* data, int length);

}  // namespace android
