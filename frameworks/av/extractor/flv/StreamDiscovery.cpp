// SPDX-License-Identifier: Apache-2.0
#include <string.h>

#include <algorithm>

#include "FlvLimits.h"
#include "FlvReader.h"
#include "HevcParameterSets.h"

namespace FlvReader {

using android::DataSource;
using android::sp;

namespace {

// How much of the end of a file is looked through for its last timestamps.
constexpr int64_t kDurationSearchBytes = 65535;

// A script tag shorter than this cannot hold "onMetaData" and a value with a member.
constexpr uint32_t kMinScriptBytes = 19;
constexpr uint32_t kScriptNameMarker = 2;  // AMF0 string
constexpr char kMetadataName[] = "onMetaData";

constexpr uint32_t kWavePcm = 0x0001;
constexpr uint32_t kWaveMp3 = 0x0055;
constexpr uint32_t kWaveAac = 0x00FF;
constexpr uint32_t kWaveFlashAdpcm = 0x5346;
constexpr uint32_t kFourCCNellymoser = 0x4C4C454E;  // "NELL"

constexpr uint32_t kNellymoser8kRate = 8000;

struct SoundFormatRow {
    SoundFormat format;
    uint32_t tag;
};

// The sound formats that have a codec tag.
constexpr SoundFormatRow kSoundFormats[] = {
        {kSoundPcmPlatformEndian, kWavePcm},
        {kSoundAdpcm, kWaveFlashAdpcm},
        {kSoundMp3, kWaveMp3},
        {kSoundPcmLittleEndian, kWavePcm},
        {kSoundNellymoser8kMono, kFourCCNellymoser},
        {kSoundNellymoser, kFourCCNellymoser},
        {kSoundAac, kWaveAac},
};

uint32_t AudioCodecTag(uint8_t soundFormat) {
    for (const SoundFormatRow& row : kSoundFormats) {
        if (row.format == soundFormat) return row.tag;
    }
    return 0;
}

}  // namespace

CFlv::CFlv(const sp<DataSource>& source, bool& ok)
    : mAudioStartPos(0),
      mVideoStartPos(0),
      mDuration(0),
      mWidth(0),
      mHeight(0),
      mVideoFourCC(0),
      mSampleRate(0),
      mAudioFourCC(0),
      mStereo(false),
      mVideoSpecificInfo(nullptr),
      mVideoSpecificInfoSize(0),
      mAudioSpecificInfo(nullptr),
      mAudioSpecificInfoSize(0),
      mIsCachingSource(false),
      mDataOffset(0),
      mPrevTagSizeMismatch(false),
      mFile(new FlvFile(source)) {
    ok = Init();
}

CFlv::~CFlv() {
    mKeyFramePositions.clear();
    mKeyFrameTimes.clear();
    delete mFile;
    delete[] mVideoSpecificInfo;
    delete[] mAudioSpecificInfo;
}

uint32_t CFlv::GetStreamFormatType(int trackType) const {
    if (trackType == kTrackVideo) return mVideoFourCC;
    return trackType == kTrackAudio ? mAudioFourCC : 0;
}

const uint8_t* CFlv::getTrackDecoderSpecificInfoContent(int trackType) const {
    return trackType == kTrackVideo ? mVideoSpecificInfo : mAudioSpecificInfo;
}

uint32_t CFlv::getTrackDecoderSpecificInfoSize(int trackType) const {
    return trackType == kTrackVideo ? mVideoSpecificInfoSize : mAudioSpecificInfoSize;
}

bool CFlv::Init() {
    if (!IsFlvFile()) return false;
    Reset();
    HevcParameterSets parameterSets;
    if (!ScanTags(&parameterSets)) return false;
    if (parameterSets.Complete()) MakeHevcConfiguration(parameterSets);
    if (mDuration == 0) FindDurationAtEnd();
    return true;
}

void CFlv::Reset() {
    mFile->ByteSeek(mDataOffset);
    mDuration = 0;
    mAudioStartPos = mVideoStartPos = 0;
    delete[] mVideoSpecificInfo;
    delete[] mAudioSpecificInfo;
    mVideoSpecificInfo = mAudioSpecificInfo = nullptr;
    mVideoSpecificInfoSize = mAudioSpecificInfoSize = 0;
    mWidth = mHeight = 0;
    mVideoFourCC = mAudioFourCC = 0;
    mSampleRate = 0;
    mStereo = false;
    mPrevTagSizeMismatch = false;
}

// Every tag moves the scan on by 15 bytes at least, and a header that cannot be read ends it.
bool CFlv::ScanTags(HevcParameterSets* parameterSets) {
    Tag tag;
    uint32_t previousDataSize = 0;
    for (bool first = true; ReadTag(tag); first = false) {
        const int64_t tagEnd = mFile->mOffset + tag.mDataSize;
        if (!first && tag.mPreviousTagSize != previousDataSize + kTagHeaderBytes) mPrevTagSizeMismatch = true;
        previousDataSize = tag.mDataSize;
        if (!ExamineTag(tag, tagEnd, parameterSets)) return false;
        // A codec header that the source did not deliver ends the scan as a tag header does: a later tag must
        // not be taken for the one that carries the configuration.
        if (tag.mTagType != kTagScriptData && !mFile->Delivered()) break;
        mFile->ByteSeek(tagEnd);
        if (mAudioStartPos != 0 && mVideoStartPos != 0) break;
    }
    return true;
}

// False when the file cannot be opened.
bool CFlv::ExamineTag(const Tag& tag, int64_t tagEnd, HevcParameterSets* parameterSets) {
    if (tag.mDataSize == 0) return true;
    if (tag.mTagType == kTagAudio && mAudioStartPos == 0) return ExamineAudio(tagEnd);
    if (tag.mTagType == kTagVideo && mVideoStartPos == 0) return ExamineVideo(tagEnd, parameterSets);
    if (tag.mTagType == kTagScriptData && tag.mDataSize >= kMinScriptBytes) return ExamineScript(tag);
    return true;
}

// Only the first audio tag counts: its codec is the stream's, supported or not.
bool CFlv::ExamineAudio(int64_t tagEnd) {
    const int64_t slot = mFile->mOffset - kTagUnitHeaderBytes;
    AudioTag header;
    if (!ReadTag(header)) return true;
    mAudioStartPos = slot;
    mSampleRate = (44100u << header.mSoundRate) / 8;
    mStereo = header.mSoundType != 0;
    mAudioFourCC = AudioCodecTag(header.mSoundFormat);
    if (header.mSoundFormat == kSoundNellymoser8kMono) mSampleRate = kNellymoser8kRate;
    return header.mSoundFormat != kSoundAac || ReadAacConfiguration(tagEnd);
}

// The tag counts as the configuration's carrier even when it is too short to hold one, so that it is never
// delivered as a sample.
bool CFlv::ReadAacConfiguration(int64_t tagEnd) {
    mFile->ByteSeek(mFile->mOffset + 1);
    std::unique_ptr<uint8_t[]> data;
    if (ReadConfiguration(tagEnd, &data, &mAudioSpecificInfoSize) == Configuration::kFailed) return false;
    mAudioSpecificInfo = data.release();
    mAudioStartPos = tagEnd;
    return true;
}

// The bytes from the position to the tag's end. Absent when the tag ends before its configuration begins or
// holds more than a configuration can be; data and size are then null and 0.
CFlv::Configuration CFlv::ReadConfiguration(int64_t tagEnd, std::unique_ptr<uint8_t[]>* data,
                                            uint32_t* size) {
    const int64_t length = tagEnd - mFile->mOffset;
    if (length < 1 || length > static_cast<int64_t>(kMaxConfigurationBytes)) return Configuration::kAbsent;
    const auto bytes = static_cast<uint32_t>(length);
    std::unique_ptr<uint8_t[]> buffer(new uint8_t[bytes]);
    if (mFile->ReadFully(buffer.get(), bytes) < bytes) return Configuration::kFailed;
    *data = std::move(buffer);
    *size = bytes;
    return Configuration::kRead;
}

bool CFlv::ExamineScript(const Tag& tag) {
    uint32_t marker, length;
    if (!mFile->ReadBigEndian(1, &marker)) return false;
    if (marker != kScriptNameMarker) return true;
    if (!mFile->ReadBigEndian(2, &length) || length >= sizeof(kMetadataName)) return true;
    char name[sizeof(kMetadataName)];
    if (mFile->ReadFully(reinterpret_cast<uint8_t*>(name), length) < length) return true;
    name[length] = '\0';
    // What metadata could be read before a fault in it is kept; the fault costs nothing else.
    if (strcmp(name, kMetadataName) == 0) {
        amf_parse_object(kMetadataName, mFile->mOffset + tag.mDataSize, 0);
    }
    return true;
}

// For files whose metadata is missing or was never completed, such as live recordings.
void CFlv::FindDurationAtEnd() {
    long pos = std::max(mFile->mFileSize - kDurationSearchBytes, mDataOffset);
    if (!Sync(pos)) return;
    Tag tag;
    while (ReadTag(tag)) {
        const int64_t tagEnd = mFile->mOffset + tag.mDataSize;
        AudioTag audio;
        VideoTag video;
        const bool counts = (tag.mTagType == kTagVideo && ReadTag(video)) ||
                            (tag.mTagType == kTagAudio && ReadTag(audio));
        if (counts) mDuration = std::max(mDuration, tag.mTimestamp);
        mFile->ByteSeek(tagEnd);
    }
}

}  // namespace FlvReader
