// SPDX-License-Identifier: Apache-2.0
#define LOG_TAG "CFlv"

#include <log/log.h>
#include <string.h>

#include <algorithm>

#include "FlvLimits.h"
#include "FlvReader.h"

// AMF0 values as the "Action Message Format -- AMF 0" specification, section 2, defines them.
namespace FlvReader {

using android::Vector;

namespace {

enum Amf0Marker : uint8_t {
    kAmf0Number = 0x00,
    kAmf0Boolean = 0x01,
    kAmf0String = 0x02,
    kAmf0Object = 0x03,
    kAmf0Null = 0x05,
    kAmf0Undefined = 0x06,
    kAmf0EcmaArray = 0x08,
    kAmf0ObjectEnd = 0x09,
    kAmf0StrictArray = 0x0A,
    kAmf0Date = 0x0B,
    kAmf0Unsupported = 0x0D,
};

constexpr long kBooleanBytes = 1;
constexpr long kDateBytes = 10;  // an 8-byte time and a 2-byte time zone
constexpr long kEcmaCountBytes = 4;
constexpr uint32_t kNameBufferBytes = 256;
constexpr size_t kNumberBytes = 9;  // with its marker

constexpr int kDepthOfDuration = 1;
constexpr int kDepthOfIndexEntries = 3;

// Prefixes on purpose: writers append to these names.
bool IsPositionsKey(const char* key) {
    return strncmp(key, "filepositions", 13) == 0;
}
bool IsTimesKey(const char* key) {
    return strncmp(key, "times", 5) == 0;
}
bool IsIndexKey(const char* key) {
    return IsPositionsKey(key) || IsTimesKey(key);
}

// The format's NaNs stand for nothing that a time or an offset could be.
double NumberOf(uint64_t pattern) {
    constexpr uint64_t kSign = uint64_t{1} << 63, kInfinity = uint64_t{0x7FF} << 52;
    if (__builtin_expect((pattern & ~kSign) > kInfinity, 0)) pattern = 0;
    double number;
    memcpy(&number, &pattern, sizeof(number));
    return number;
}

uint64_t BigEndian64(const uint8_t* bytes) {
    uint64_t value;
    memcpy(&value, bytes, sizeof(value));
    return __builtin_bswap64(value);
}

uint32_t DurationInMilliseconds(double seconds) {
    const double milliseconds = seconds * 1000.0;
    if (!(milliseconds > 0.0)) return 0;
    if (milliseconds >= 4294967295.0) return UINT32_MAX;
    return static_cast<uint32_t>(milliseconds);
}

}  // namespace

int CFlv::amf_parse_object(const char* key, int64_t maximumPosition, int depth) {
    if (depth > kMaxAmf0Depth) return -1;
    uint32_t marker;
    if (!mFile->ReadBigEndian(1, &marker)) return -1;

    double number = 0.0;
    bool parsed = true;
    switch (marker) {
        case kAmf0Number:
            parsed = ParseAmf0Number(&number);
            break;
        case kAmf0Boolean:
            mFile->ByteSeek(mFile->mOffset + kBooleanBytes);
            break;
        case kAmf0String:
            parsed = ParseAmf0String();
            break;
        case kAmf0Object:
            parsed = ParseAmf0Object(key, maximumPosition, depth);
            break;
        case kAmf0Null:
        case kAmf0Undefined:
        case kAmf0Unsupported:
            break;
        case kAmf0EcmaArray:
            parsed = ParseAmf0EcmaArray(maximumPosition, depth);
            break;
        case kAmf0StrictArray:
            parsed = ParseAmf0StrictArray(key, maximumPosition, depth);
            break;
        case kAmf0Date:
            mFile->ByteSeek(mFile->mOffset + kDateBytes);
            break;
        default:  // movie clip, reference, object end, long string, and what AMF0 does not have
            parsed = false;
    }
    if (!parsed) return -1;
    if (key != nullptr) RecordAmf0(key, depth, marker == kAmf0Number, number);
    return 0;
}

bool CFlv::ParseAmf0Number(double* number) {
    uint32_t high, low;
    if (!mFile->ReadBigEndian(4, &high) || !mFile->ReadBigEndian(4, &low)) return false;
    *number = NumberOf(uint64_t{high} << 32 | low);
    return true;
}

// The text is consumed, not used; a long one is passed over without reading it.
bool CFlv::ParseAmf0String() {
    uint32_t length;
    if (!mFile->ReadBigEndian(2, &length)) return false;
    if (length >= kNameBufferBytes) {
        mFile->ByteSeek(mFile->mOffset + length);
        return true;
    }
    uint8_t text[kNameBufferBytes];
    return mFile->ReadFully(text, length) == length;
}

bool CFlv::ParseAmf0Object(const char* key, int64_t maximumPosition, int depth) {
    char name[kNameBufferBytes] = {};
    while (mFile->mOffset < maximumPosition - 2) {
        uint32_t length;
        if (!mFile->ReadBigEndian(2, &length) || length == 0) break;
        const char* memberKey = nullptr;
        if (length >= kNameBufferBytes) {
            ALOGE("key is too long ,key == NULL");
            mFile->ByteSeek(mFile->mOffset + length);
        } else {
            name[length] = '\0';
            if (mFile->ReadFully(reinterpret_cast<uint8_t*>(name), length) < length) {
                ALOGE("read failed");
                return false;
            }
            if (key != nullptr && IsIndexKey(name)) memberKey = name;
        }
        if (amf_parse_object(memberKey, maximumPosition, depth + 1) < 0) return false;
    }
    return ReadAmf0EndMarker();
}

// The element count in front is not believed: writers put 0 there, or a number of their own.
bool CFlv::ParseAmf0EcmaArray(int64_t maximumPosition, int depth) {
    char name[kNameBufferBytes];
    mFile->ByteSeek(mFile->mOffset + kEcmaCountBytes);
    while (mFile->mOffset < maximumPosition - 2) {
        uint32_t length;
        if (!mFile->ReadBigEndian(2, &length)) break;
        if (length >= kNameBufferBytes) {
            mFile->ByteSeek(mFile->mOffset + length);
            break;
        }
        if (mFile->ReadFully(reinterpret_cast<uint8_t*>(name), length) < length) break;
        if (length == 0) break;
        name[length] = '\0';
        if (amf_parse_object(name, maximumPosition, depth + 1) < 0) return false;
    }
    return ReadAmf0EndMarker();
}

// The entries of an index by the thousand, which would otherwise cost a call for each field of each. Numbers
// that do not lie whole in the cache, and elements of other types, are left to the parser of all values.
uint32_t CFlv::TakeCachedNumbers(uint32_t most, Vector<double>* index) {
    size_t available;
    const uint8_t* bytes = mFile->CachedRun(&available);
    const auto whole = static_cast<uint32_t>(std::min<size_t>(most, available / kNumberBytes));
    double numbers[FlvFile::kCacheBytes / kNumberBytes];
    uint32_t count = 0;
    const auto take = [&] {
        numbers[count++] = NumberOf(BigEndian64(bytes + 1));
        bytes += kNumberBytes;
    };
    // Four at a time, or looking after the loop would take as long as the numbers.
    static_assert(kAmf0Number == 0, "a sum of markers tells that all are of numbers");
    while (whole - count >= 4 && (bytes[0] | bytes[kNumberBytes] | bytes[2 * kNumberBytes] |
                                  bytes[3 * kNumberBytes]) == kAmf0Number) {
        take();
        take();
        take();
        take();
    }
    while (count < whole && *bytes == kAmf0Number)
        take();
    if (count > 0 && index != nullptr) {
        // At once for all that may follow: growing again and again takes as long as parsing.
        if (index->isEmpty()) index->setCapacity(std::min<size_t>(most, kMaxIndexEntries));
        index->appendArray(numbers, std::min<size_t>(count, kMaxIndexEntries - index->size()));
    }
    mFile->Consume(count * kNumberBytes);
    return count;
}

bool CFlv::ParseAmf0StrictArray(const char* key, int64_t maximumPosition, int depth) {
    uint32_t count;
    if (!mFile->ReadBigEndian(4, &count)) return false;
    const char* elementKey = key != nullptr && IsIndexKey(key) ? key : nullptr;
    Vector<double>* index = depth + 1 == kDepthOfIndexEntries ? IndexOfKey(elementKey) : nullptr;
    for (uint32_t i = 0; i < count && mFile->mOffset < maximumPosition - 1;) {
        // An element begins before the limit; the last one may end behind it.
        const int64_t room = (maximumPosition - 2 - mFile->mOffset) / static_cast<int64_t>(kNumberBytes) + 1;
        const auto most = static_cast<uint32_t>(std::min<int64_t>(count - i, room));
        const uint32_t taken = depth < kMaxAmf0Depth ? TakeCachedNumbers(most, index) : 0;
        i += taken;
        if (taken > 0) continue;
        if (amf_parse_object(elementKey, maximumPosition, depth + 1) < 0) return false;
        ++i;
    }
    return true;
}

Vector<double>* CFlv::IndexOfKey(const char* key) {
    if (key == nullptr) return nullptr;
    if (IsPositionsKey(key)) return &mKeyFramePositions;
    return IsTimesKey(key) ? &mKeyFrameTimes : nullptr;
}

bool CFlv::ReadAmf0EndMarker() {
    uint32_t marker;
    return mFile->ReadBigEndian(1, &marker) && marker == kAmf0ObjectEnd;
}

// A value under an index key adds one entry whatever its type, so that the two arrays stay in step.
void CFlv::RecordAmf0(const char* key, int depth, bool isNumber, double number) {
    if (depth == kDepthOfDuration && isNumber && strcmp(key, "duration") == 0) {
        mDuration = DurationInMilliseconds(number);
    }
    if (depth != kDepthOfIndexEntries) return;
    Vector<double>* index = IndexOfKey(key);
    if (index != nullptr && index->size() < kMaxIndexEntries) index->push(number);
}

}  // namespace FlvReader
