// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stddef.h>
#include <stdint.h>

namespace FlvReader {

// The cropped picture size in pixels from the first sequence parameter set of an AVC decoder configuration
// record (ISO/IEC 14496-15, 5.2.4.1). 0 by 0 when the record is too short to hold one or it is malformed.//
// The platform's parser asserts on a parameter set that runs out of bits or holds values that cannot be, so
// the set is read here first, in each way in which platforms are known to read it, and handed on only when
// all of them come to their end.
void FindAvcPictureSize(uint8_t* record, size_t size, int32_t* width, int32_t* height);

}  // namespace FlvReader
