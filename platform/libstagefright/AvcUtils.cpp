// SPDX-License-Identifier: Apache-2.0
#include <media/stagefright/foundation/avc_utils.h>

#include <vector>

#include <media/stagefright/foundation/ABitReader.h>
#define LOG_TAG "avc_utils"
#include <media/stagefright/foundation/ADebug.h>

namespace android {

namespace {

constexpr uint32_t kExtendedSar = 255;

// Table E-1, from aspect_ratio_idc 0 (unspecified) on.
constexpr struct {
    int32_t width;
    int32_t height;
} kSampleAspectRatios[] = {{0, 0},   {1, 1},    {12, 11}, {10, 11}, {16, 11}, {40, 33},
                           {24, 11}, {20, 11},  {32, 11}, {80, 33}, {18, 11}, {15, 11},
                           {64, 33}, {160, 99}, {4, 3},   {3, 2},   {2, 1}};

// What the sizes are made of, by the standard's names.
struct PictureFormat {
    uint32_t ChromaArrayType;
    uint32_t frame_mbs_only_flag;
    int64_t pic_width_in_mbs;
    int64_t pic_height_in_map_units;
};

// 7.4.1: the third byte of 00 00 03 is not part of the payload.
std::vector<uint8_t> removeEmulationPrevention(const uint8_t* data, size_t size) {
    std::vector<uint8_t> rbsp;
    rbsp.reserve(size);
    int zeros = 0;
    for (size_t i = 0; i < size; ++i) {
        if (zeros >= 2 && data[i] == 3) {
            zeros = 0;
            continue;
        }
        zeros = data[i] == 0 ? zeros + 1 : 0;
        rbsp.push_back(data[i]);
    }
    return rbsp;
}

// ue(v) and se(v) of 9.1 and 9.1.1.
uint32_t readUe(ABitReader& reader) {
    uint32_t leadingZeroBits = 0;
    while (reader.getBits(1) == 0) {
        ++leadingZeroBits;
        CHECK_LE(leadingZeroBits, 31u);
    }
    return (1u << leadingZeroBits) - 1 + reader.getBits(leadingZeroBits);
}

int64_t readSe(ABitReader& reader) {
    const int64_t k = readUe(reader);
    return k % 2 != 0 ? (k + 1) / 2 : -(k / 2);
}

// The profiles whose parameter set carries the chroma format (7.3.2.1.1).
bool hasChromaFormat(uint32_t profile_idc) {
    static const uint32_t kProfiles[] = {44, 83, 86, 100, 110, 118, 122, 128, 134, 135, 138, 139, 244};
    for (const uint32_t profile : kProfiles) {
        if (profile == profile_idc) return true;
    }
    return false;
}

// 7.3.2.1.1.1; the values do not matter here, but a list ends its deltas where a scale becomes 0.
void skipScalingList(ABitReader& reader, int sizeOfScalingList) {
    uint8_t nextScale = 8;
    for (int j = 0; j < sizeOfScalingList && nextScale != 0; ++j) {
        // Modulo 256, as the standard has it.
        nextScale = static_cast<uint8_t>(nextScale + readSe(reader));
    }
}

// From chroma_format_idc to the scaling lists. Result: ChromaArrayType.
uint32_t readChromaFormat(ABitReader& reader) {
    const uint32_t chroma_format_idc = readUe(reader);
    CHECK_LE(chroma_format_idc, 3u);
    const uint32_t separate_colour_plane_flag = chroma_format_idc == 3 ? reader.getBits(1) : 0;
    readUe(reader);      // bit_depth_luma_minus8
    readUe(reader);      // bit_depth_chroma_minus8
    reader.skipBits(1);  // qpprime_y_zero_transform_bypass_flag
    if (reader.getBits(1) != 0) {
        const int lists = chroma_format_idc != 3 ? 8 : 12;
        for (int i = 0; i < lists; ++i) {
            if (reader.getBits(1) != 0) skipScalingList(reader, i < 6 ? 16 : 64);
        }
    }
    return separate_colour_plane_flag != 0 ? 0 : chroma_format_idc;
}

void skipPicOrderCnt(ABitReader& reader) {
    const uint32_t pic_order_cnt_type = readUe(reader);
    if (pic_order_cnt_type == 0) {
        readUe(reader);  // log2_max_pic_order_cnt_lsb_minus4
    } else if (pic_order_cnt_type == 1) {
        reader.skipBits(1);  // delta_pic_order_always_zero_flag
        readSe(reader);      // offset_for_non_ref_pic
        readSe(reader);      // offset_for_top_to_bottom_field
        const uint32_t num_ref_frames_in_pic_order_cnt_cycle = readUe(reader);
        for (uint32_t i = 0; i < num_ref_frames_in_pic_order_cnt_cycle; ++i)
            readSe(reader);
    }
}

// Everything ahead of the cropping rectangle.
PictureFormat readPictureFormat(ABitReader& reader) {
    PictureFormat format{};
    reader.skipBits(8);  // NAL unit header
    const uint32_t profile_idc = reader.getBits(8);
    reader.skipBits(16);  // constraint flags, level_idc
    readUe(reader);       // seq_parameter_set_id
    format.ChromaArrayType = hasChromaFormat(profile_idc) ? readChromaFormat(reader) : 1;
    readUe(reader);  // log2_max_frame_num_minus4
    skipPicOrderCnt(reader);
    readUe(reader);      // max_num_ref_frames
    reader.skipBits(1);  // gaps_in_frame_num_value_allowed_flag
    format.pic_width_in_mbs = int64_t{readUe(reader)} + 1;
    format.pic_height_in_map_units = int64_t{readUe(reader)} + 1;
    format.frame_mbs_only_flag = reader.getBits(1);
    if (format.frame_mbs_only_flag == 0) reader.skipBits(1);  // mb_adaptive_frame_field_flag
    reader.skipBits(1);                                       // direct_8x8_inference_flag
    return format;
}

int32_t checkedSize(int64_t pixels) {
    CHECK_GT(pixels, int64_t{0});
    CHECK_LE(pixels, int64_t{INT32_MAX});
    return static_cast<int32_t>(pixels);
}

// The cropping rectangle, in the units of (7-19) to (7-22), off the coded size.
void readCroppedSize(ABitReader& reader, const PictureFormat& format, int32_t* width, int32_t* height) {
    const uint32_t SubWidthC = format.ChromaArrayType == 1 || format.ChromaArrayType == 2 ? 2 : 1;
    const uint32_t SubHeightC = format.ChromaArrayType == 1 ? 2 : 1;
    const uint32_t fieldFactor = 2 - format.frame_mbs_only_flag;
    int64_t croppedX = 0;
    int64_t croppedY = 0;
    if (reader.getBits(1) != 0) {
        croppedX = int64_t{readUe(reader)};
        croppedX += readUe(reader);
        croppedY = int64_t{readUe(reader)};
        croppedY += readUe(reader);
    }
    *width = checkedSize(format.pic_width_in_mbs * 16 - croppedX * SubWidthC);
    *height = checkedSize(format.pic_height_in_map_units * fieldFactor * 16 -
                          croppedY * SubHeightC * fieldFactor);
}

void readSampleAspectRatio(ABitReader& reader, int32_t* sarWidth, int32_t* sarHeight) {
    *sarWidth = 0;
    *sarHeight = 0;
    if (reader.getBits(1) == 0) return;  // vui_parameters_present_flag
    if (reader.getBits(1) == 0) return;  // aspect_ratio_info_present_flag
    const uint32_t aspect_ratio_idc = reader.getBits(8);
    if (aspect_ratio_idc == kExtendedSar) {
        *sarWidth = static_cast<int32_t>(reader.getBits(16));
        *sarHeight = static_cast<int32_t>(reader.getBits(16));
    } else if (aspect_ratio_idc < sizeof(kSampleAspectRatios) / sizeof(kSampleAspectRatios[0])) {
        *sarWidth = kSampleAspectRatios[aspect_ratio_idc].width;
        *sarHeight = kSampleAspectRatios[aspect_ratio_idc].height;
    }
}

}  // namespace

void FindAVCDimensions(const sp<ABuffer>& seqParamSet, int32_t* width, int32_t* height, int32_t* sarWidth,
                       int32_t* sarHeight) {
    const std::vector<uint8_t> rbsp = removeEmulationPrevention(seqParamSet->data(), seqParamSet->size());
    ABitReader reader(rbsp.data(), rbsp.size());
    const PictureFormat format = readPictureFormat(reader);
    readCroppedSize(reader, format, width, height);
    if (sarWidth != nullptr && sarHeight != nullptr) readSampleAspectRatio(reader, sarWidth, sarHeight);
}

}  // namespace android
