// SPDX-License-Identifier: Apache-2.0
#include "FlvReader.h"
#include "Utils.h"

namespace FlvReader {

namespace {

constexpr uint32_t kSignature = 0x464C56;  // "FLV"
constexpr uint32_t kVersion = 1;

uint32_t U24_AT(const uint8_t* bytes) {
    return uint32_t{bytes[0]} << 16 | uint32_t{bytes[1]} << 8 | bytes[2];
}

void DecodeTag(const uint8_t (&header)[kTagUnitHeaderBytes], Tag* tag) {
    tag->mPreviousTagSize = android::U32_AT(header);
    tag->mTagType = header[4];
    tag->mDataSize = U24_AT(header + 5);
    tag->mTimestamp = U24_AT(header + 8) | uint32_t{header[11]} << 24;
    tag->mStreamId = U24_AT(header + 12);
}

}  // namespace

// TypeFlags are not believed: encoders set them wrongly, and the tags themselves tell which streams exist.
bool CFlv::IsFlvFile() {
    if (mFile->BitRead(24) != kSignature) return false;
    if (mFile->BitRead(8) != kVersion) return false;
    mFile->BitRead(8);
    // Sign-extended as a 32-bit value; a negative offset makes a file without tags.
    mDataOffset = static_cast<int32_t>(mFile->BitRead(32));
    return true;
}

bool CFlv::ReadTag(Tag& tag) {
    if (mFile->Remaining() < kTagUnitHeaderBytes) return false;
    uint8_t header[kTagUnitHeaderBytes];
    const bool arrived = mFile->ReadTagUnitHeader(header);
    DecodeTag(header, &tag);
    return arrived && tag.mDataSize <= mFile->Remaining();
}

// ReadTag at another slot, which is known to have a whole unit header, beside the cursor.
bool CFlv::PeekTag(int64_t slot, Tag* tag) {
    uint8_t header[kTagUnitHeaderBytes];
    if (!mFile->PeekTagUnitHeader(slot, header)) return false;
    DecodeTag(header, tag);
    return tag->mDataSize <= mFile->mFileSize - slot - kTagUnitHeaderBytes;
}

// A codec byte that did not arrive would repeat the byte before it, so a failed read is a failure here too.
bool CFlv::ReadTag(AudioTag& tag) {
    if (mFile->mOffset == mFile->mFileSize) return false;
    tag.mSoundFormat = static_cast<uint8_t>(mFile->BitRead(4));
    tag.mSoundRate = static_cast<uint8_t>(mFile->BitRead(2));
    tag.mSoundSize = static_cast<uint8_t>(mFile->BitRead(1));
    tag.mSoundType = static_cast<uint8_t>(mFile->BitRead(1));
    return mFile->Delivered();
}

bool CFlv::ReadTag(VideoTag& tag) {
    if (mFile->mOffset == mFile->mFileSize) return false;
    tag.mFrameType = static_cast<uint8_t>(mFile->BitRead(4));
    tag.mCodecId = static_cast<uint8_t>(mFile->BitRead(4));
    return mFile->Delivered();
}

}  // namespace FlvReader
