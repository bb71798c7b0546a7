// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <media/stagefright/MetaData.h>
#include <utils/StrongPointer.h>

#include "Export.h"

namespace android {

// Wraps size bytes of decoder-specific info (an AudioSpecificConfig, or the BITMAPINFOHEADER of a video codec
// that has no descriptor of its own) in an ES_Descriptor (ISO/IEC 14496-1, 7.2.6.5) and stores it in the
// format under kKeyESDS with type code 0. The info is copied.
//
// The descriptor has ES_ID 0, no SLConfigDescriptor, and a DecoderConfigDescriptor whose fields are 0 but for
// the objectTypeIndication: 0x40 for up to 127 bytes of info, 0x01 for more. Lengths take as few bytes as
// hold them.
//
// Nothing happens without info (null or size 0), nor with so much that the descriptor's length would pass
// 2^28 - 1, the most that ISO/IEC 14496-1, 8.3.3 can express.
ORVEL_API void AddESDSFromSpecificInfo(const sp<MetaData>& format, const void* info, unsigned long size);

}  // namespace android
