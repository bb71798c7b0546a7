// SPDX-License-Identifier: Apache-2.0
#define LOG_TAG "CFlv"

#include <log/log.h>
#include <media/stagefright/MetaData.h>
#include <string.h>

#include "AvcConfiguration.h"
#include "FlvReader.h"
#include "HevcParameterSets.h"
#include "Utils.h"

// The first usable key frame of each video codec, and the configuration that it carries or yields.
namespace FlvReader {

using android::MetaData;
using android::sp;

namespace {

constexpr uint32_t kFourCCFlv1 = 0x31564C46;
constexpr uint32_t kFourCCFlv4 = 0x34564C46;
constexpr uint32_t kFourCCH264 = 0x34363248;
constexpr uint32_t kFourCCHevc = 0x43564548;

// AVCPacketType and CompositionTime in front of an AVC or HEVC payload.
constexpr int64_t kAvcHeaderBytes = 4;

constexpr uint32_t kBitmapHeaderBytes = 40;  // BITMAPINFOHEADER

constexpr int kVp6MacroblockSize = 16;

struct PictureSize {
    int32_t width;
    int32_t height;
};

// PictureSize 2 to 6 of a Sorenson H.263 picture header.
constexpr int kFirstFixedSize = 2;
constexpr PictureSize kH263Sizes[] = {{352, 288}, {176, 144}, {128, 96}, {320, 240}, {160, 120}};

void WriteLittleEndian32(uint8_t* destination, int32_t value) {
    for (int i = 0; i < 4; ++i)
        destination[i] = static_cast<uint8_t>(static_cast<uint32_t>(value) >> (8 * i));
}

}  // namespace

// False when the file cannot be opened. A key frame that yields no configuration is passed over, and the scan
// tries the next one; a key frame of a codec without a track settles that there is no video track.
bool CFlv::ExamineVideo(int64_t tagEnd, HevcParameterSets* parameterSets) {
    const int64_t slot = mFile->mOffset - kTagUnitHeaderBytes;
    VideoTag header;
    if (!ReadTag(header) || header.mFrameType != kFrameKey) return true;
    switch (header.mCodecId) {
        case kCodecSorensonH263:
            if (ReadH263Header()) mVideoStartPos = slot;
            return true;
        case kCodecVp6:
        case kCodecVp6Alpha:
            if (ReadVp6Header(header.mCodecId == kCodecVp6Alpha)) mVideoStartPos = slot;
            return true;
        case kCodecAvc:
            return ReadAvcConfiguration(tagEnd) != Configuration::kFailed;
        case kCodecHevc:
            return ReadHevcParameterSet(tagEnd, parameterSets) != Configuration::kFailed;
        default:
            mVideoStartPos = slot;
            return true;
    }
}

// A Sorenson H.263 picture header, as the FLV format's H263VIDEOPACKET gives it.
bool CFlv::ReadH263Header() {
    if (mFile->BitRead(17) != 1) return false;
    mFile->BitRead(13);
    const int pictureSize = static_cast<int>(mFile->BitRead(3));
    PictureSize size = {0, 0};
    if (pictureSize < kFirstFixedSize) {
        const int bits = pictureSize == 0 ? 8 : 16;
        size.width = static_cast<int32_t>(mFile->BitRead(bits));
        size.height = static_cast<int32_t>(mFile->BitRead(bits));
    } else if (pictureSize < 7) {
        size = kH263Sizes[pictureSize - kFirstFixedSize];
    }
    mWidth = size.width;
    mHeight = size.height;
    if (!mFile->Delivered() || mWidth == 0 || mHeight == 0) return false;
    MakeBitmapHeader("FLV1");
    mVideoFourCC = kFourCCFlv1;
    return true;
}

// A VP6 frame header behind the tag's own adjustment byte and, with alpha, 24-bit alpha offset.
bool CFlv::ReadVp6Header(bool alpha) {
    mFile->ByteSeek(mFile->mOffset + (alpha ? 4 : 1));
    if (mFile->BitRead(1) != 0) return false;
    mFile->BitRead(6);  // quantiser
    const bool separatedCoefficients = mFile->BitRead(1) != 0;
    mFile->BitRead(5);  // sub-version
    const bool simpleFilter = mFile->BitRead(2) == 0;
    mFile->BitRead(1);  // interlace
    if (separatedCoefficients || simpleFilter) mFile->BitRead(16);
    mHeight = kVp6MacroblockSize * static_cast<int32_t>(mFile->BitRead(8));
    mWidth = kVp6MacroblockSize * static_cast<int32_t>(mFile->BitRead(8));
    if (!mFile->Delivered()) return false;
    MakeBitmapHeader(alpha ? "VP6A" : "VP6F");
    mVideoFourCC = kFourCCFlv4;
    return true;
}

void CFlv::MakeBitmapHeader(const char (&fourcc)[5]) {
    delete[] mVideoSpecificInfo;
    mVideoSpecificInfo = new uint8_t[kBitmapHeaderBytes]();
    mVideoSpecificInfoSize = kBitmapHeaderBytes;
    WriteLittleEndian32(mVideoSpecificInfo, static_cast<int32_t>(kBitmapHeaderBytes));
    WriteLittleEndian32(mVideoSpecificInfo + 4, mWidth);
    WriteLittleEndian32(mVideoSpecificInfo + 8, mHeight);
    memcpy(mVideoSpecificInfo + 16, fourcc, 4);
}

// A tag without any byte of configuration is passed over: an end-of-sequence tag left in front by an editor
// must not stand for the sequence header behind it.
CFlv::Configuration CFlv::ReadAvcConfiguration(int64_t tagEnd) {
    mFile->ByteSeek(mFile->mOffset + kAvcHeaderBytes);
    std::unique_ptr<uint8_t[]> record;
    const Configuration result = ReadConfiguration(tagEnd, &record, &mVideoSpecificInfoSize);
    if (result != Configuration::kRead) return result;
    mVideoSpecificInfo = record.release();
    FindAvcPictureSize(mVideoSpecificInfo, mVideoSpecificInfoSize, &mWidth, &mHeight);
    mVideoStartPos = tagEnd;
    mVideoFourCC = kFourCCH264;
    ALOGD("width = %d, height = %d", mWidth, mHeight);
    return result;
}

CFlv::Configuration CFlv::ReadHevcParameterSet(int64_t tagEnd, HevcParameterSets* parameterSets) {
    mFile->ByteSeek(mFile->mOffset + kAvcHeaderBytes);
    auto& payload = parameterSets->payloads[parameterSets->held];
    const Configuration result = ReadConfiguration(tagEnd, &payload.data, &payload.size);
    if (result != Configuration::kRead) return result;
    ++parameterSets->held;
    if (!parameterSets->Complete()) return result;
    mVideoStartPos = tagEnd;
    mVideoFourCC = kFourCCHevc;
    return result;
}

// Parameter sets of which no configuration can be made leave the file without a video track: no decoder could
// be set up for it.
void CFlv::MakeHevcConfiguration(const HevcParameterSets& parameterSets) {
    const sp<MetaData> format = android::MakeHEVCCodecSpecificDataOv(parameterSets.Join());
    uint32_t type;
    const void* record;
    size_t size;
    if (format == nullptr || !format->findData(android::kKeyHVCC, &type, &record, &size)) {
        mVideoFourCC = 0;
        mVideoStartPos = 0;
        return;
    }
    if (!format->findInt32(android::kKeyWidth, &mWidth)) mWidth = 0;
    if (!format->findInt32(android::kKeyHeight, &mHeight)) mHeight = 0;
    mVideoSpecificInfo = new uint8_t[size];
    mVideoSpecificInfoSize = static_cast<uint32_t>(size);
    memcpy(mVideoSpecificInfo, record, size);
    ALOGD("width:%d height:%d type:%d", mWidth, mHeight, static_cast<int>(type));
}

}  // namespace FlvReader
