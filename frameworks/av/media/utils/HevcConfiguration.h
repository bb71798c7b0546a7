// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <media/stagefright/MetaData.h>
#include <media/stagefright/foundation/ABuffer.h>
#include <stddef.h>
#include <stdint.h>
#include <utils/StrongPointer.h>

#include "Export.h"

namespace android {

// Builds the track format of an HEVC stream from its parameter sets.
//
// csd holds, in Annex B form with 3- or 4-byte start codes and in any order, an SPS and a PPS, and usually a
// VPS. It is not modified; of each kind the first unit counts.
//
// The format holds kKeyMIMEType "video/hevc", kKeyWidth and kKeyHeight (the cropped size in luma samples)
// and, under kKeyHVCC, an HEVCDecoderConfigurationRecord (ISO/IEC 14496-15, 8.3.3.1) with one array per kind
// in the order VPS, SPS, PPS. Profile, tier and level are those of the SPS; chroma format, bit depths and
// frame rate always read as 4:2:0, 8 bits and unknown, and NAL unit lengths as 4 bytes. The SPS in the record
// is the copy that FindHEVCDimensions rewrote. A nalUnitLength field holds the low 16 bits of its unit's
// size.
//
// Null when there is no SPS or no PPS, when the SPS has fewer than the 15 bytes that the record takes from
// it, or when FindHEVCDimensions finds no size in it.
ORVEL_API sp<MetaData> MakeHEVCCodecSpecificDataOv(const sp<ABuffer>& csd);

// A copy of the first NAL unit of the given nal_unit_type (H.265, 7.4.2.2; 32 VPS, 33 SPS, 34 PPS) in Annex B
// data, from its header on, without start code and trailing zero bytes. Null when there is none. Units of
// other types are passed over. Takes time in proportion to size. The last argument is neither read nor
// written.
ORVEL_API sp<ABuffer> FindHEVCNAL(const uint8_t* data, size_t size, unsigned int nalType, size_t* unused);

// Reads the picture size, in luma samples after the conformance window, from an SPS (H.265, 7.3.2.2) that
// starts with its 2-byte NAL unit header.
//
// The emulation-prevention bytes of the SPS are removed in the buffer itself. The buffer keeps its size: each
// removed byte leaves one more repetition of the last byte at the end.
//
// Both results are 0 when the SPS ends inside one of the fields read, holds an Exp-Golomb code of more than
// 31 leading zero bits, crops by a chroma format that H.265 does not know, or gives a width or height that is
// below 1 or no int.
ORVEL_API void FindHEVCDimensions(const sp<ABuffer>& sps, int* width, int* height);

}  // namespace android
