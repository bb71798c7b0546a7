// SPDX-License-Identifier: Apache-2.0
#define LOG_TAG "Utils"
#include "CodecRegistry.h"

#include <dlfcn.h>
#include <log/log.h>
#include <string.h>

#include "CodecTables.h"
#include "MimeTypes.h"

namespace android {

namespace {

// FFmpeg's codec identifiers under its own names, in the numbering of the releases that the device's software
// decoders come from (HEVC was still its four characters there).
enum CodecId : uint32_t {
    NONE = 0,
    MPEG1VIDEO = 1,
    MPEG2VIDEO = 2,
    H263 = 5,
    RV10 = 6,
    RV20 = 7,
    MPEG4 = 13,
    MSMPEG4V2 = 16,
    MSMPEG4V3 = 17,
    WMV1 = 18,
    WMV2 = 19,
    FLV1 = 22,
    H264 = 28,
    TSCC = 57,
    RV30 = 69,
    RV40 = 70,
    VC1 = 71,
    WMV3 = 72,
    VP6 = 92,
    VP6F = 93,
    VP8 = 141,
    VP9 = 169,
    MP2 = 0x15000,
    MP3 = 0x15001,
    AAC = 0x15002,
    AC3 = 0x15003,
    DTS = 0x15004,
    WMAV1 = 0x15007,
    WMAV2 = 0x15008,
    WMAPRO = 0x15025,
    WMALOSSLESS = 0x15026,
    HEVC = 0x48323635,
};

// The largest number that is a WAVE format tag: 0xFFFF announces an extension and is none.
constexpr uint32_t kLastWaveTag = 0xFFFE;

constexpr uint32_t fourCC(const char (&code)[5]) {
    return static_cast<uint32_t>(code[0]) | static_cast<uint32_t>(code[1]) << 8 |
           static_cast<uint32_t>(code[2]) << 16 | static_cast<uint32_t>(code[3]) << 24;
}

}  // namespace

const CodecMimeEntry kWaveTagTable[27] = {
        {0x0055, ORVEL_MEDIA_MIMETYPE_AUDIO_MPEG, MP3},
        {0x0050, ORVEL_MEDIA_MIMETYPE_AUDIO_MPEG_LAYER_II, MP2},
        {0x0160, ORVEL_MEDIA_MIMETYPE_AUDIO_WMA, WMAV1},
        {0x0161, ORVEL_MEDIA_MIMETYPE_AUDIO_WMA, WMAV2},
        {0x0162, ORVEL_MEDIA_MIMETYPE_AUDIO_WMA, WMAPRO},
        {0x0163, ORVEL_MEDIA_MIMETYPE_AUDIO_WMA, WMALOSSLESS},
        {0x00FF, ORVEL_MEDIA_MIMETYPE_AUDIO_AAC, AAC},
        {0x2000, ORVEL_MEDIA_MIMETYPE_AUDIO_AC3, AC3},
        {0x2001, ORVEL_MEDIA_MIMETYPE_AUDIO_DTS, DTS},
        {0x00A0, ORVEL_MEDIA_MIMETYPE_AUDIO_LPCM, NONE},
        {0x0001, ORVEL_MEDIA_MIMETYPE_AUDIO_RAW, NONE},
        {0x0002, ORVEL_MEDIA_MIMETYPE_AUDIO_ADPCM, NONE},
        {0x0003, ORVEL_MEDIA_MIMETYPE_AUDIO_LPCM, NONE},
        {0x0006, ORVEL_MEDIA_MIMETYPE_AUDIO_G711_ALAW, NONE},
        {0x0007, ORVEL_MEDIA_MIMETYPE_AUDIO_G711_MLAW, NONE},
        {0x0010, ORVEL_MEDIA_MIMETYPE_AUDIO_ADPCM, NONE},
        {0x0011, ORVEL_MEDIA_MIMETYPE_AUDIO_ADPCM, NONE},
        {0x0020, ORVEL_MEDIA_MIMETYPE_AUDIO_ADPCM, NONE},
        {0x0103, ORVEL_MEDIA_MIMETYPE_AUDIO_ADPCM, NONE},
        {0x0061, ORVEL_MEDIA_MIMETYPE_AUDIO_ADPCM, NONE},
        {0x0062, ORVEL_MEDIA_MIMETYPE_AUDIO_ADPCM, NONE},
        {0x0069, ORVEL_MEDIA_MIMETYPE_AUDIO_ADPCM, NONE},
        {0x0200, ORVEL_MEDIA_MIMETYPE_AUDIO_ADPCM, NONE},
        {0x5346, ORVEL_MEDIA_MIMETYPE_AUDIO_ADPCM, NONE},
        {0x5000, ORVEL_MEDIA_MIMETYPE_AUDIO_FLAC, NONE},
        {0x5001, ORVEL_MEDIA_MIMETYPE_AUDIO_VORBIS, NONE},
        {0xF1AC, ORVEL_MEDIA_MIMETYPE_AUDIO_FLAC, NONE},
};

const CodecMimeEntry kFourCCTable[44] = {
        {fourCC(" BID"), ORVEL_MEDIA_MIMETYPE_VIDEO_RAW, NONE},
        {fourCC("H264"), ORVEL_MEDIA_MIMETYPE_VIDEO_AVC, H264},
        {fourCC("AVC1"), ORVEL_MEDIA_MIMETYPE_VIDEO_AVC, H264},
        {fourCC("HVC1"), ORVEL_MEDIA_MIMETYPE_VIDEO_HEVC, HEVC},
        {fourCC("HEV1"), ORVEL_MEDIA_MIMETYPE_VIDEO_HEVC, HEVC},
        {fourCC("HEVC"), ORVEL_MEDIA_MIMETYPE_VIDEO_HEVC, HEVC},
        {fourCC("HVCC"), ORVEL_MEDIA_MIMETYPE_VIDEO_HEVC, HEVC},
        {fourCC("HM10"), ORVEL_MEDIA_MIMETYPE_VIDEO_HEVC, HEVC},
        {fourCC("WMV1"), ORVEL_MEDIA_MIMETYPE_VIDEO_FFMPEG, WMV1},
        {fourCC("WMV2"), ORVEL_MEDIA_MIMETYPE_VIDEO_FFMPEG, WMV2},
        {fourCC("WMV3"), ORVEL_MEDIA_MIMETYPE_VIDEO_FFMPEG, WMV3},
        {fourCC("WMVA"), ORVEL_MEDIA_MIMETYPE_VIDEO_FFMPEG, VC1},
        {fourCC("WVC1"), ORVEL_MEDIA_MIMETYPE_VIDEO_FFMPEG, VC1},
        {fourCC("DIV3"), ORVEL_MEDIA_MIMETYPE_VIDEO_FFMPEG, MSMPEG4V3},
        {fourCC("FMP4"), ORVEL_MEDIA_MIMETYPE_VIDEO_MPEG4, MPEG4},
        {fourCC("MP4V"), ORVEL_MEDIA_MIMETYPE_VIDEO_MPEG4, MPEG4},
        {fourCC("H263"), ORVEL_MEDIA_MIMETYPE_VIDEO_H263, H263},
        {fourCC("FLV1"), ORVEL_MEDIA_MIMETYPE_VIDEO_FFMPEG, FLV1},
        {fourCC("MP42"), ORVEL_MEDIA_MIMETYPE_VIDEO_FFMPEG, MSMPEG4V2},
        {fourCC("MP43"), ORVEL_MEDIA_MIMETYPE_VIDEO_FFMPEG, MSMPEG4V3},
        {fourCC("VP62"), ORVEL_MEDIA_MIMETYPE_VIDEO_FFMPEG, VP6},
        {fourCC("FLV4"), ORVEL_MEDIA_MIMETYPE_VIDEO_FFMPEG, VP6F},
        {fourCC("MPEG"), ORVEL_MEDIA_MIMETYPE_VIDEO_FFMPEG, MPEG1VIDEO},
        {fourCC("MPG1"), ORVEL_MEDIA_MIMETYPE_VIDEO_FFMPEG, MPEG1VIDEO},
        {fourCC("MPG2"), ORVEL_MEDIA_MIMETYPE_VIDEO_MPEG2, MPEG2VIDEO},
        {fourCC("RV10"), ORVEL_MEDIA_MIMETYPE_VIDEO_FFMPEG, RV10},
        {fourCC("RV20"), ORVEL_MEDIA_MIMETYPE_VIDEO_FFMPEG, RV20},
        {fourCC("RV30"), ORVEL_MEDIA_MIMETYPE_VIDEO_FFMPEG, RV30},
        {fourCC("RV40"), ORVEL_MEDIA_MIMETYPE_VIDEO_FFMPEG, RV40},
        {fourCC("COOK"), ORVEL_MEDIA_MIMETYPE_AUDIO_REALAUDIO, NONE},
        {fourCC("ATRC"), ORVEL_MEDIA_MIMETYPE_AUDIO_REALAUDIO, NONE},
        {fourCC("SIPR"), ORVEL_MEDIA_MIMETYPE_AUDIO_REALAUDIO, NONE},
        {fourCC("DNET"), ORVEL_MEDIA_MIMETYPE_AUDIO_REALAUDIO, NONE},
        {fourCC("14_4"), ORVEL_MEDIA_MIMETYPE_AUDIO_REALAUDIO, NONE},
        {fourCC("28_8"), ORVEL_MEDIA_MIMETYPE_AUDIO_REALAUDIO, NONE},
        {fourCC("RAAC"), ORVEL_MEDIA_MIMETYPE_AUDIO_AAC, AAC},
        {fourCC("RACP"), ORVEL_MEDIA_MIMETYPE_AUDIO_AAC, AAC},
        {fourCC("VP-8"), ORVEL_MEDIA_MIMETYPE_VIDEO_VP8, VP8},
        {fourCC("VP-9"), ORVEL_MEDIA_MIMETYPE_VIDEO_VP9, VP9},
        {fourCC("TSCC"), ORVEL_MEDIA_MIMETYPE_VIDEO_FFMPEG, TSCC},
        {fourCC("DIVX"), ORVEL_MEDIA_MIMETYPE_VIDEO_FFMPEG, MPEG4},
        {fourCC("DX50"), ORVEL_MEDIA_MIMETYPE_VIDEO_FFMPEG, MPEG4},
        {fourCC("DIV4"), ORVEL_MEDIA_MIMETYPE_VIDEO_FFMPEG, MSMPEG4V3},
        {fourCC("XVID"), ORVEL_MEDIA_MIMETYPE_VIDEO_FFMPEG, MPEG4},
};

namespace {

template <size_t rows>
const CodecMimeEntry* find(const CodecMimeEntry (&table)[rows], uint32_t tag) {
    for (const CodecMimeEntry& entry : table) {
        if (entry.tag == tag) return &entry;
    }
    return nullptr;
}

// Byte by byte, and independent of the locale.
uint32_t toUpperCase(uint32_t fourcc) {
    for (unsigned int shift = 0; shift < 32; shift += 8) {
        const uint32_t character = fourcc >> shift & 0xFF;
        if (character >= 'a' && character <= 'z') fourcc -= UINT32_C(0x20) << shift;
    }
    return fourcc;
}

using FourCCToCodecId = uint32_t (*)(uint32_t fourcc);

}  // namespace

const char* GetMimeType(unsigned int fourcc, unsigned int* codecId) {
    ALOGI("%s : fourcc 0x%x", __func__, fourcc);
    const bool isWaveTag = fourcc <= kLastWaveTag;
    const uint32_t key = isWaveTag ? fourcc : toUpperCase(fourcc);
    const CodecMimeEntry* entry = isWaveTag ? find(kWaveTagTable, key) : find(kFourCCTable, key);
    if (entry == nullptr) {
        ALOGD("GetMimeType: not find Mime! 0x%x", key);
        return nullptr;
    }
    if (codecId != nullptr) {
        *codecId = entry->codecId;
        ALOGI("get %s ffmpegCodecId is 0x%x", isWaveTag ? "audio" : "video", entry->codecId);
    }
    return entry->mime;
}

int32_t getCodecIDFromFourCC(unsigned int fourcc) {
    void* library = dlopen("libffmpeg_utils.so", RTLD_LAZY);
    if (library == nullptr) {
        ALOGI("Failed to load libffmpeg_utils.so, dlerror: %s", dlerror());
        return -1;
    }
    int32_t codecId = -1;
    void* symbol = dlsym(library, "FfmpegGetCodecIDFromFourCC");
    if (symbol == nullptr) {
        ALOGI("Failed to find symbol, dlerror: %s", dlerror());
    } else {
        codecId = static_cast<int32_t>(reinterpret_cast<FourCCToCodecId>(symbol)(fourcc));
    }
    dlclose(library);
    return codecId;
}

bool isNeedExtra(const char* mime) {
    if (mime == nullptr) return false;
    const char* const needing[] = {ORVEL_MEDIA_MIMETYPE_VIDEO_MIX,       ORVEL_MEDIA_MIMETYPE_VIDEO_REALVIDEO,
                                   ORVEL_MEDIA_MIMETYPE_AUDIO_REALAUDIO, ORVEL_MEDIA_MIMETYPE_AUDIO_APE,
                                   ORVEL_MEDIA_MIMETYPE_AUDIO_WMA,       ORVEL_MEDIA_MIMETYPE_AUDIO_ADPCM};
    for (const char* text : needing) {
        if (strcmp(mime, text) == 0) return true;
    }
    return false;
}

}  // namespace android
