// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>

#include <media/stagefright/foundation/ABuffer.h>
#include <utils/RefBase.h>

namespace android {

// The picture size that an H.264 sequence parameter set gives, in pixels, after cropping (ITU-T
// H.264, 7.3.2.1.1 and 7.4.2.1.1). seqParamSet is one NAL unit from its header byte on, without start code,
// emulation-prevention bytes included (7.4.1).
//
// When both sarWidth and sarHeight are given, they receive the sample aspect ratio of the video usability
// information (E.2.1), or 0 and 0 where it gives none. They may be null.
//
// The set is trusted: when it ends early, holds an Exp-Golomb code with more than 31 leading zero bits, or
// gives a size that is not positive or exceeds int32_t, the process ends with a fatal log line.
void FindAVCDimensions(const sp<ABuffer>& seqParamSet, int32_t* width, int32_t* height,
                       int32_t* sarWidth = nullptr, int32_t* sarHeight = nullptr);

}  // namespace android
