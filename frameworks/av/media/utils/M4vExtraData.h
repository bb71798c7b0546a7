// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Export.h"

namespace android {

// Length in bytes of the configuration headers at the start of MPEG-4 Visual extra data (ISO/IEC
// 14496-2, 6.2): the offset of the first start code 00 00 01 B3 (group of VOP) or 00 00 01 B6 (VOP). Without
// one, the offset at which the scan ran out, between length - 4 and length - 1. 0 for null data and for 4
// bytes or fewer.
ORVEL_API unsigned int PreProcessM4vExtraData(unsigned char* data, unsigned int length);

}  // namespace android
