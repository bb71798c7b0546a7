// SPDX-License-Identifier: Apache-2.0
#include <algorithm>

#include "FlvReader.h"

namespace FlvReader {

namespace {

// Between a candidate's end and the end of the file stands either its trailing PreviousTagSize alone, or that
// and a whole unit header behind it.
constexpr int64_t kTrailerBytes = kPreviousTagSizeBytes;
constexpr int64_t kFollowingBytes = kPreviousTagSizeBytes + kTagUnitHeaderBytes;

// How far apart two tags of a file with unreliable PreviousTagSize fields may lie to confirm one another.
constexpr uint32_t kMaxConfirmingGapMs = 1000;

// Wraps as a 32-bit product does on every target: picture headers can tell up to 65535 by 65535.
int32_t WrappingProduct(int32_t a, int32_t b) {
    int32_t product;
    (void)__builtin_mul_overflow(a, b, &product);
    return product;
}

}  // namespace

// The largest DataSize that is believed on a caching source, where a false candidate with a large size would
// cost a jump over the network. 0 while the picture size is unknown: then no candidate is.
uint32_t CFlv::SyncDataSizeLimit() const {
    const int32_t area = WrappingProduct(mWidth, mHeight);
    const int32_t triple = WrappingProduct(area, 3);
    const int32_t base = triple < 1024002 ? 512000 : triple / 2;
    return static_cast<uint32_t>(std::min(base, WrappingProduct(area, 2)));
}

bool CFlv::Sync(long& pos) {
    mFile->ByteSeek(pos);
    const int64_t fileSize = mFile->mFileSize;
    if (mFile->mSource->flags() & android::DataSource::kIsCachingDataSource) mIsCachingSource = true;
    if (fileSize - std::max<int64_t>(pos, 0) < kTagUnitHeaderBytes) return false;
    const uint32_t limit = SyncDataSizeLimit();

    for (;;) {
        SkipToCandidate(fileSize - kTagUnitHeaderBytes);
        const uint32_t type = mFile->BitRead(8);
        if (!mFile->Delivered()) return false;
        if (type != kTagAudio && type != kTagVideo) {
            const int64_t remainingWithByte = fileSize - mFile->mOffset + 1;
            if (remainingWithByte < kTagUnitHeaderBytes + 1) return false;
            continue;
        }
        const int64_t behindType = mFile->mOffset;
        pos = static_cast<long>(behindType - kPreviousTagSizeBytes - 1);
        mFile->ByteSeek(pos);
        Tag candidate;
        const bool plausible =
                ReadTag(candidate) &&
                (!mIsCachingSource || (candidate.mDataSize != 0 && candidate.mDataSize < limit));
        if (plausible && ConfirmCandidate(candidate, fileSize)) {
            mFile->ByteSeek(pos);
            return true;
        }
        if (!mFile->Delivered()) return false;
        mFile->ByteSeek(behindType);
        if (fileSize - behindType < kTagUnitHeaderBytes) return false;
    }
}

// Passes over what the cache holds of bytes that begin no candidate, as far as the limit: a search through a
// hole of gigabytes looks at each of its bytes.
void CFlv::SkipToCandidate(int64_t limit) {
    size_t size;
    const uint8_t* bytes = mFile->CachedRun(&size);
    if (size == 0) return;  // the position may be anything then
    size = static_cast<size_t>(
            std::min<int64_t>(static_cast<int64_t>(size), std::max<int64_t>(limit - mFile->mOffset, 0)));
    size_t skipped = 0;
    while (skipped < size && bytes[skipped] != kTagAudio && bytes[skipped] != kTagVideo)
        ++skipped;
    mFile->Consume(skipped);
}

// Called with the cursor at the candidate's data. The tag that should follow is looked at beside the cache:
// on bytes that are full of false candidates, each would otherwise cost two refills.
bool CFlv::ConfirmCandidate(const Tag& candidate, int64_t fileSize) {
    const int64_t end = mFile->mOffset + candidate.mDataSize;
    if (end == fileSize - kTrailerBytes) return true;
    if (end > fileSize - kFollowingBytes) return false;
    Tag following;
    if (!PeekTag(end, &following)) return false;
    if (following.mTagType != kTagAudio && following.mTagType != kTagVideo &&
        following.mTagType != kTagScriptData) {
        return false;
    }
    if (following.mPreviousTagSize == candidate.mDataSize + kTagHeaderBytes) return true;
    return mPrevTagSizeMismatch && following.mTimestamp >= candidate.mTimestamp &&
           following.mTimestamp - candidate.mTimestamp <= kMaxConfirmingGapMs;
}

}  // namespace FlvReader
