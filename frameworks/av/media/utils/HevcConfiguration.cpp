// SPDX-License-Identifier: Apache-2.0
#define LOG_TAG "Utils"
#include "HevcConfiguration.h"

#include <limits.h>
#include <log/log.h>
#include <string.h>

#include "CheckedBitReader.h"
#include "MimeTypes.h"

namespace android {

namespace {

// nal_unit_type of H.265, Table 7-1.
enum NalUnitType : uint8_t { VPS_NUT = 32, SPS_NUT = 33, PPS_NUT = 34 };

constexpr size_t kStartCodeSize = 3;
constexpr size_t kNalHeaderSize = 2;
constexpr size_t kRecordHeaderSize = 23;
constexpr size_t kArrayHeaderSize = 5;

// The SPS's bytes from general_profile_space to general_level_idc, which the record holds in the same order.
constexpr size_t kProfileTierLevelOffset = 3;
constexpr size_t kProfileTierLevelSize = 12;

// min_spatial_segmentation_idc to lengthSizeMinusOne. The device's decoder takes these from the SPS itself.
constexpr uint8_t kFixedFields[] = {0xF0, 0x00, 0xFC, 0xFD, 0xF8, 0xF8, 0x00, 0x00, 0x03};

// SubWidthC and SubHeightC by chroma_format_idc (H.265, Table 6-1).
struct ChromaSampling {
    uint8_t SubWidthC;
    uint8_t SubHeightC;
};
constexpr ChromaSampling kChromaSampling[] = {{1, 1}, {2, 2}, {2, 1}, {1, 1}};

// Offset of the first start code 00 00 01 at or behind from, size when there is none.
size_t findStartCode(const uint8_t* data, size_t size, size_t from) {
    for (size_t i = from; size - i >= kStartCodeSize; ++i) {
        if (data[i] == 0 && data[i + 1] == 0 && data[i + 2] == 1) return i;
    }
    return size;
}

size_t trimTrailingZeros(const uint8_t* unit, size_t size) {
    while (size > 1 && unit[size - 1] == 0)
        --size;
    return size;
}

sp<ABuffer> copyOf(const uint8_t* data, size_t size) {
    sp<ABuffer> copy = new ABuffer(size);
    if (copy->base() == nullptr) return nullptr;
    memcpy(copy->data(), data, size);
    return copy;
}

// Removes emulation_prevention_three_bytes (H.265, 7.3.1.1) in one pass and returns the new length. The
// places that become free at the end repeat the last byte, as they would if the rest were moved down for one
// byte after another; the record holds the SPS at the length that it had when found, these places included.
size_t removeEmulationPrevention(uint8_t* payload, size_t size) {
    if (size == 0) return 0;
    const uint8_t last = payload[size - 1];
    size_t kept = 0;
    size_t zeros = 0;
    for (size_t i = 0; i < size; ++i) {
        const uint8_t byte = payload[i];
        if (zeros >= 2 && byte == 3) {
            zeros = 0;
            continue;
        }
        zeros = byte == 0 ? zeros + 1 : 0;
        payload[kept++] = byte;
    }
    memset(payload + kept, last, size - kept);
    return kept;
}

bool readGeneralProfile(CheckedBitReader& bits) {
    bits.skip(3);  // general_profile_space, general_tier_flag
    const uint32_t general_profile_idc = bits.get(5);
    if (bits.failed()) return false;
    ALOGI("general_profile_idc =%d", static_cast<int>(general_profile_idc));
    bits.skip(32 + 48);  // general_profile_compatibility_flags, source and constraint flags
    const uint32_t general_level_idc = bits.get(8);
    if (bits.failed()) return false;
    ALOGI("general_level_idc =%d", static_cast<int>(general_level_idc));
    return true;
}

void skipSubLayers(CheckedBitReader& bits, uint32_t sps_max_sub_layers_minus1) {
    if (sps_max_sub_layers_minus1 == 0) return;
    size_t subLayerBits = 0;
    for (uint32_t i = 0; i < sps_max_sub_layers_minus1; ++i) {
        if (bits.get(1) != 0) subLayerBits += 2 + 1 + 5 + 32 + 48;  // sub_layer_profile_present_flag
        if (bits.get(1) != 0) subLayerBits += 8;                    // sub_layer_level_present_flag
    }
    bits.skip(size_t{2} * (8 - sps_max_sub_layers_minus1));  // reserved_zero_2bits
    bits.skip(subLayerBits);
}

struct PictureSize {
    int64_t width;
    int64_t height;
};

bool readLumaSize(CheckedBitReader& bits, PictureSize* size) {
    const uint32_t pic_width_in_luma_samples = bits.ue();
    const uint32_t pic_height_in_luma_samples = bits.ue();
    if (bits.failed()) return false;
    ALOGI("pic_width_in_luma_samples =%d", static_cast<int>(pic_width_in_luma_samples));
    ALOGI("pic_height_in_luma_samples =%d", static_cast<int>(pic_height_in_luma_samples));
    size->width = pic_width_in_luma_samples;
    size->height = pic_height_in_luma_samples;
    return true;
}

bool applyConformanceWindow(CheckedBitReader& bits, uint32_t chroma_format_idc, PictureSize* size) {
    const uint32_t conformance_window_flag = bits.get(1);
    if (bits.failed()) return false;
    ALOGI("conformance_window_flag =%d", static_cast<int>(conformance_window_flag));
    if (conformance_window_flag == 0) return true;

    const uint32_t left = bits.ue();
    const uint32_t right = bits.ue();
    const uint32_t top = bits.ue();
    const uint32_t bottom = bits.ue();
    // Only a window's offsets are counted in the units of a chroma format, so only here must there be one.
    if (bits.failed() || chroma_format_idc >= sizeof(kChromaSampling) / sizeof(kChromaSampling[0]))
        return false;
    const ChromaSampling& chroma = kChromaSampling[chroma_format_idc];
    size->width -= chroma.SubWidthC * (static_cast<int64_t>(left) + right);
    size->height -= chroma.SubHeightC * (static_cast<int64_t>(top) + bottom);
    ALOGI("frame_crop = (%u, %u, %u, %u)", left, right, top, bottom);
    return true;
}

bool readBitDepths(CheckedBitReader& bits) {
    const uint32_t bit_depth_luma_minus8 = bits.ue();
    const uint32_t bit_depth_chroma_minus8 = bits.ue();
    if (bits.failed()) return false;
    ALOGI("bit_depth_luma_minus8 =%u, bit_depth_chroma_minus8 =%u", bit_depth_luma_minus8,
          bit_depth_chroma_minus8);
    return true;
}

// seq_parameter_set_rbsp (H.265, 7.3.2.2.1) as far as the bit depths. A field is logged only when it was
// there.
bool readPictureSize(CheckedBitReader& bits, PictureSize* size) {
    bits.skip(4);  // sps_video_parameter_set_id
    const uint32_t sps_max_sub_layers_minus1 = bits.get(3);
    if (bits.failed()) return false;
    ALOGI("sps_max_sub_layers_minus1 =%d", static_cast<int>(sps_max_sub_layers_minus1));
    bits.skip(1);  // sps_temporal_id_nesting_flag
    if (!readGeneralProfile(bits)) return false;
    skipSubLayers(bits, sps_max_sub_layers_minus1);
    bits.ue();  // sps_seq_parameter_set_id
    const uint32_t chroma_format_idc = bits.ue();
    if (bits.failed()) return false;
    ALOGI("chroma_format_idc=%d", static_cast<int>(chroma_format_idc));
    if (chroma_format_idc == 3) bits.skip(1);  // separate_colour_plane_flag
    return readLumaSize(bits, size) && applyConformanceWindow(bits, chroma_format_idc, size) &&
           readBitDepths(bits);
}

// No decoder can be set up for a picture without pixels, which is what is left when a conformance window
// takes more than there is.
bool isPositiveInt(int64_t value) {
    return value >= 1 && value <= INT_MAX;
}

const char* profileName(unsigned int general_profile_idc) {
    switch (general_profile_idc) {
        case 1:
            return "Main Profile";
        case 2:
            return "Main 10 profile";
        case 3:
            return "Main Still Picture profile";
        default:
            return "Unknown";
    }
}

size_t arraySize(const sp<ABuffer>& nal) {
    return nal == nullptr ? 0 : kArrayHeaderSize + nal->size();
}

// Writes an array of one NAL unit and returns the position behind it.
uint8_t* writeArray(uint8_t* out, NalUnitType type, const sp<ABuffer>& nal) {
    if (nal == nullptr) return out;
    const size_t size = nal->size();
    out[0] = type;  // array_completeness 0
    out[1] = 0;     // numNalus
    out[2] = 1;
    out[3] = static_cast<uint8_t>(size >> 8 & 0xFF);
    out[4] = static_cast<uint8_t>(size & 0xFF);
    memcpy(out + kArrayHeaderSize, nal->data(), size);
    return out + kArrayHeaderSize + size;
}

sp<ABuffer> makeRecord(const sp<ABuffer>& vps, const sp<ABuffer>& sps, const sp<ABuffer>& pps) {
    const size_t size = kRecordHeaderSize + arraySize(vps) + arraySize(sps) + arraySize(pps);
    ALOGI("MakeHEVCCodecSpecificDataOv codec config data size =%zu", size);
    sp<ABuffer> record = new ABuffer(size);
    if (record->base() == nullptr) return nullptr;
    uint8_t* out = record->data();
    out[0] = 1;  // configurationVersion
    memcpy(out + 1, sps->data() + kProfileTierLevelOffset, kProfileTierLevelSize);
    memcpy(out + 1 + kProfileTierLevelSize, kFixedFields, sizeof(kFixedFields));
    out[kRecordHeaderSize - 1] = vps == nullptr ? 2 : 3;  // numOfArrays
    out = writeArray(out + kRecordHeaderSize, VPS_NUT, vps);
    out = writeArray(out, SPS_NUT, sps);
    writeArray(out, PPS_NUT, pps);
    return record;
}

sp<ABuffer> findParameterSet(const sp<ABuffer>& csd, NalUnitType type) {
    return FindHEVCNAL(csd->data(), csd->size(), type, nullptr);
}

sp<MetaData> makeFormat(const sp<ABuffer>& record, int width, int height) {
    sp<MetaData> format = new MetaData;
    format->setCString(kKeyMIMEType, ORVEL_MEDIA_MIMETYPE_VIDEO_HEVC);
    format->setData(kKeyHVCC, kTypeHVCC, record->data(), record->size());
    format->setInt32(kKeyWidth, width);
    format->setInt32(kKeyHeight, height);
    return format;
}

void logFormat(const sp<ABuffer>& record, int width, int height) {
    const unsigned int general_profile_idc = record->data()[1] & 0x1F;
    const int general_level_idc = record->data()[12];
    ALOGI("found HEVC codec config (%d x %d, %s-profile level %d.%d)", width, height,
          profileName(general_profile_idc), general_level_idc / 30, general_level_idc % 30 / 3);
}

}  // namespace

sp<ABuffer> FindHEVCNAL(const uint8_t* data, size_t size, unsigned int nalType, size_t* /*unused*/) {
    size_t startCode = findStartCode(data, size, 0);
    while (startCode < size) {
        const size_t start = startCode + kStartCodeSize;
        const size_t next = findStartCode(data, size, start);
        const size_t unitSize = trimTrailingZeros(data + start, next - start);
        if (unitSize > 0 && (data[start] >> 1 & 0x3F) == nalType) return copyOf(data + start, unitSize);
        // Nothing shorter than a NAL unit header is looked for behind the last start code.
        if (size - next < kStartCodeSize + kNalHeaderSize) return nullptr;
        startCode = next;
    }
    return nullptr;
}

void FindHEVCDimensions(const sp<ABuffer>& sps, int* width, int* height) {
    ALOGI("FindHEVCDimensions ++");
    *width = 0;
    *height = 0;
    if (sps->size() > kNalHeaderSize) {
        uint8_t* payload = sps->data() + kNalHeaderSize;
        const size_t payloadSize = removeEmulationPrevention(payload, sps->size() - kNalHeaderSize);
        CheckedBitReader bits(payload, payloadSize);
        PictureSize size = {0, 0};
        if (readPictureSize(bits, &size) && isPositiveInt(size.width) && isPositiveInt(size.height)) {
            *width = static_cast<int>(size.width);
            *height = static_cast<int>(size.height);
        }
    }
    ALOGI("FindHEVCDimensions --");
}

sp<MetaData> MakeHEVCCodecSpecificDataOv(const sp<ABuffer>& csd) {
    ALOGI("MakeHEVCCodecSpecificDataOv ++");
    const sp<ABuffer> vps = findParameterSet(csd, VPS_NUT);
    if (vps == nullptr) {
        ALOGW("no vps found !!!");
    } else {
        ALOGI("find vps, size =%zu", vps->size());
    }

    const sp<ABuffer> sps = findParameterSet(csd, SPS_NUT);
    if (sps == nullptr) {
        ALOGW("no sps found !!!");
        return nullptr;
    }
    ALOGI("find sps, size =%zu", sps->size());
    // Rewrites the SPS, so the record is made afterwards. An SPS that gives a size holds all the bytes that
    // the record takes from it.
    int width = 0;
    int height = 0;
    FindHEVCDimensions(sps, &width, &height);
    if (width == 0) return nullptr;

    const sp<ABuffer> pps = findParameterSet(csd, PPS_NUT);
    if (pps == nullptr) return nullptr;
    ALOGI("find pps, size =%zu", pps->size());

    const sp<ABuffer> record = makeRecord(vps, sps, pps);
    if (record == nullptr) return nullptr;
    sp<MetaData> format = makeFormat(record, width, height);
    logFormat(record, width, height);
    ALOGI("MakeHEVCCodecSpecificDataOv --");
    return format;
}

}  // namespace android
