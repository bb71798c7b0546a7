// SPDX-License-Identifier: Apache-2.0
#include <string.h>

#include "FlvReader.h"

namespace FlvReader {

namespace {

constexpr uint32_t kSignature = 0x464C56;  // "FLV"
constexpr uint32_t kVersion = 1;

// In place of the exported function, which would be called through the linkage table four times a header.
uint32_t BigEndian32(const uint8_t* bytes) {
    uint32_t value;
    memcpy(&value, bytes, sizeof(value));
    return __builtin_bswap32(value);
}

void DecodeTag(const uint8_t* header, Tag* tag) {
    const uint32_t typeAndSize = BigEndian32(header + 4);
    const uint32_t timestamp = BigEndian32(header + 8);  // its top byte comes last
    tag->mPreviousTagSize = BigEndian32(header);
    tag->mTagType = static_cast<uint8_t>(typeAndSize >> 24);
    tag->mDataSize = typeAndSize & 0xFFFFFF;
    tag->mTimestamp = (timestamp & 0xFF) << 24 | timestamp >> 8;
    tag->mStreamId = BigEndian32(header + 11) & 0xFFFFFF;
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
    const int64_t mostData = mFile->Remaining() - kTagUnitHeaderBytes;
    if (mostData < 0) return false;
    uint8_t pieces[kTagUnitHeaderBytes];
    bool arrived;
    DecodeTag(mFile->ReadTagUnitHeader(pieces, &arrived), &tag);
    return arrived && tag.mDataSize <= mostData;
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
    const uint32_t byte = mFile->BitRead(8);
    tag.mSoundFormat = static_cast<uint8_t>(byte >> 4);
    tag.mSoundRate = static_cast<uint8_t>(byte >> 2 & 3);
    tag.mSoundSize = static_cast<uint8_t>(byte >> 1 & 1);
    tag.mSoundType = static_cast<uint8_t>(byte & 1);
    return mFile->Delivered();
}

bool CFlv::ReadTag(VideoTag& tag) {
    if (mFile->mOffset == mFile->mFileSize) return false;
    const uint32_t byte = mFile->BitRead(8);
    tag.mFrameType = static_cast<uint8_t>(byte >> 4);
    tag.mCodecId = static_cast<uint8_t>(byte & 15);
    return mFile->Delivered();
}

}  // namespace FlvReader
