// SPDX-License-Identifier: Apache-2.0
#include "AvcConfiguration.h"

#include <media/stagefright/foundation/ABuffer.h>
#include <media/stagefright/foundation/avc_utils.h>
#include <string.h>

#include "CheckedBitReader.h"
#include "FlvLimits.h"

namespace FlvReader {

using android::ABuffer;
using android::CheckedBitReader;
using android::sp;

namespace {

// The fixed fields of the record and the 16-bit length of its first SPS stand in front of it.
constexpr size_t kFirstSpsOffset = 8;

constexpr uint8_t kNalTypeMask = 0x9F;  // with forbidden_zero_bit
constexpr uint8_t kNalTypeSps = 7;

constexpr uint32_t kMaxRefFramesInPicOrderCntCycle = 255;
constexpr uint32_t kExtendedSar = 255;
constexpr uint32_t kChromaMonochrome = 0;
constexpr uint32_t kChroma420 = 1;
constexpr uint32_t kChroma422 = 2;
constexpr uint32_t kChroma444 = 3;
constexpr uint32_t kMacroblockSize = 16;

// The first seven are those of the standard's editions before scalable and multiview coding.
constexpr uint8_t kHighProfiles[] = {100, 110, 122, 244, 44, 83, 86, 118, 128, 138, 139, 134, 135};
constexpr size_t kEarlyHighProfiles = 7;

// In what parsers of different platforms differ.
struct Dialect {
    size_t highProfiles;  // how many of kHighProfiles they know
    int scalingLists444;  // scaling lists that they read with 4:4:4 chroma
};
constexpr Dialect kStandard = {sizeof(kHighProfiles), 12};
constexpr Dialect kDialects[] = {
        kStandard, {sizeof(kHighProfiles), 8}, {kEarlyHighProfiles, 12}, {kEarlyHighProfiles, 8}};

int32_t SignedExpGolomb(CheckedBitReader* bits) {
    const uint32_t code = bits->ue();
    const auto magnitude = static_cast<int32_t>(code / 2 + code % 2);
    return code % 2 != 0 ? magnitude : -magnitude;
}

// scaling_list(), H.264 7.3.2.1.1.1
bool SkipScalingList(CheckedBitReader* bits, int entries) {
    int lastScale = 8;
    int nextScale = 8;
    for (int i = 0; i < entries && !bits->failed(); ++i) {
        if (nextScale != 0) {
            const int32_t delta_scale = SignedExpGolomb(bits);
            if (delta_scale < -128 || delta_scale > 127) return false;
            nextScale = (lastScale + delta_scale + 256) % 256;
        }
        if (nextScale != 0) lastScale = nextScale;
    }
    return true;
}

// The fields that only the high profiles have. ChromaArrayType is set to what the crop units depend on.
bool SkipChromaFields(CheckedBitReader* bits, int scalingLists444, uint32_t* ChromaArrayType) {
    const uint32_t chroma_format_idc = bits->ue();
    if (chroma_format_idc > kChroma444) return false;
    const bool separate_colour_plane_flag = chroma_format_idc == kChroma444 && bits->get(1) != 0;
    *ChromaArrayType = separate_colour_plane_flag ? kChromaMonochrome : chroma_format_idc;
    bits->ue();                          // bit_depth_luma_minus8
    bits->ue();                          // bit_depth_chroma_minus8
    bits->skip(1);                       // qpprime_y_zero_transform_bypass_flag
    if (bits->get(1) == 0) return true;  // seq_scaling_matrix_present_flag
    const int lists = chroma_format_idc == kChroma444 ? scalingLists444 : 8;
    for (int i = 0; i < lists; ++i) {
        if (bits->get(1) != 0 && !SkipScalingList(bits, i < 6 ? 16 : 64)) return false;
    }
    return true;
}

bool SkipPicOrderCount(CheckedBitReader* bits) {
    const uint32_t pic_order_cnt_type = bits->ue();
    if (pic_order_cnt_type == 0) {
        bits->ue();  // log2_max_pic_order_cnt_lsb_minus4
    } else if (pic_order_cnt_type == 1) {
        bits->skip(1);
        bits->ue();
        bits->ue();
        const uint32_t cycle = bits->ue();
        if (cycle > kMaxRefFramesInPicOrderCntCycle) return false;
        for (uint32_t i = 0; i < cycle; ++i)
            bits->ue();
    }
    return true;
}

// Far enough into the VUI for a reader of the sample aspect ratio, H.264 E.1.1.
void SkipAspectRatio(CheckedBitReader* bits) {
    if (bits->get(1) == 0 || bits->get(1) == 0) return;
    if (bits->get(8) == kExtendedSar) bits->skip(32);
}

// Whether anything is left of one side of the picture.
bool LeavesPicture(uint64_t size, uint64_t cropped, uint64_t cropUnit) {
    return size <= kMaxPictureDimension && cropped < size && cropped * cropUnit < size;
}

struct SpsCheck {
    bool complete;  // every field that a parser reads is there and has a value that it may have
    bool sane;      // and the picture has a size that a decoder could have
};

// seq_parameter_set_data(), H.264 7.3.2.1.1, behind the NAL header.
SpsCheck CheckSps(const uint8_t* data, size_t size, const Dialect& dialect) {
    CheckedBitReader bits(data, size);
    const auto profile_idc = static_cast<int>(bits.get(8));
    bits.skip(16);
    bits.ue();  // seq_parameter_set_id
    uint32_t ChromaArrayType = kChroma420;
    if (memchr(kHighProfiles, profile_idc, dialect.highProfiles) != nullptr &&
        !SkipChromaFields(&bits, dialect.scalingLists444, &ChromaArrayType)) {
        return {false, false};
    }
    bits.ue();  // log2_max_frame_num_minus4
    if (!SkipPicOrderCount(&bits)) return {false, false};
    bits.ue();  // max_num_ref_frames
    bits.skip(1);
    const uint64_t width = (uint64_t{bits.ue()} + 1) * kMacroblockSize;
    const uint64_t mapHeight = (uint64_t{bits.ue()} + 1) * kMacroblockSize;
    const uint32_t fieldsPerMap = bits.get(1) != 0 ? 1 : 2;  // frame_mbs_only_flag
    if (fieldsPerMap == 2) bits.skip(1);
    bits.skip(1);  // direct_8x8_inference_flag
    uint64_t croppedX = 0, croppedY = 0;
    if (bits.get(1) != 0) {
        croppedX = uint64_t{bits.ue()} + bits.ue();
        croppedY = uint64_t{bits.ue()} + bits.ue();
    }
    SkipAspectRatio(&bits);
    const uint32_t SubWidthC = ChromaArrayType == kChroma420 || ChromaArrayType == kChroma422 ? 2 : 1;
    const uint32_t SubHeightC = ChromaArrayType == kChroma420 ? 2 : 1;
    const bool sane = LeavesPicture(width, croppedX, SubWidthC) &&
                      LeavesPicture(mapHeight * fieldsPerMap, croppedY, SubHeightC * fieldsPerMap);
    return {!bits.failed(), sane};
}

// A copy without the emulation prevention bytes of H.264 7.4.1.1.
sp<ABuffer> Unescape(const uint8_t* data, size_t size) {
    sp<ABuffer> copy = new ABuffer(size);
    size_t length = 0;
    int zeros = 0;
    for (size_t i = 0; i < size; ++i) {
        const bool emulationPrevention = zeros >= 2 && data[i] == 3;
        zeros = data[i] == 0 ? zeros + 1 : 0;
        if (!emulationPrevention) copy->data()[length++] = data[i];
    }
    copy->setRange(0, length);
    return copy;
}

// Whether no parser runs out in a NAL unit as it stands, whichever dialect it speaks.
bool IsCompleteInEachDialect(const uint8_t* nal, size_t size) {
    for (const Dialect& dialect : kDialects) {
        if (!CheckSps(nal + 1, size - 1, dialect).complete) return false;
    }
    return true;
}

// The NAL unit to hand to a platform's parser, or null when there is none that it could read. Platforms
// differ in whether theirs removes emulation prevention bytes: it must come to its end either way.
sp<ABuffer> ReadableSps(uint8_t* nal, size_t size) {
    if ((nal[0] & kNalTypeMask) != kNalTypeSps) return nullptr;
    const sp<ABuffer> unescaped = Unescape(nal, size);
    if (!CheckSps(unescaped->data() + 1, unescaped->size() - 1, kStandard).sane) return nullptr;
    if (!IsCompleteInEachDialect(unescaped->data(), unescaped->size())) return nullptr;
    if (IsCompleteInEachDialect(nal, size)) return new ABuffer(nal, size);
    // Without anything left to remove, the copy reads alike everywhere.
    const bool readsAlike = Unescape(unescaped->data(), unescaped->size())->size() == unescaped->size();
    return readsAlike ? unescaped : nullptr;
}

bool IsPictureDimension(int32_t value) {
    return value >= 1 && value <= static_cast<int32_t>(kMaxPictureDimension);
}

}  // namespace

void FindAvcPictureSize(uint8_t* record, size_t size, int32_t* width, int32_t* height) {
    *width = *height = 0;
    if (size < kFirstSpsOffset + 2) return;
    const sp<ABuffer> sps = ReadableSps(record + kFirstSpsOffset, size - kFirstSpsOffset);
    if (sps == nullptr) return;
    android::FindAVCDimensions(sps, width, height, nullptr, nullptr);
    if (!IsPictureDimension(*width) || !IsPictureDimension(*height)) *width = *height = 0;
}

}  // namespace FlvReader
