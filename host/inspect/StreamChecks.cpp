// SPDX-License-Identifier: Apache-2.0
#include "inspect/StreamChecks.h"

#include <fmt/format.h>

#include <algorithm>

#include "Utils.h"
#include "format/AudioConfiguration.h"
#include "format/AvcSps.h"
#include "format/Mp3Header.h"
#include "format/ParameterSets.h"
#include "support/CountText.h"
#include "support/TimeText.h"

namespace orvel {
namespace {

constexpr uint32_t kVp6 = 4, kVp6Alpha = 5;
constexpr uint32_t kMp3 = 2, kAac = 10, kAvc = 7, kOtherHevc = 12;
constexpr uint8_t kLastFrameType = 5, kLastPacketType = 2;
constexpr size_t kLongestRecord = 1 << 16;  // that is compared with the next one
constexpr size_t kMostCodecs = 64;
constexpr int kMostUnits = 256;  // of a sample, that are followed
constexpr size_t kStrayBytes = 4;
// How many odd numbers are more than a garbled byte or two.
constexpr uint64_t kManyOdd = 3;
constexpr uint64_t kEnoughTags = 8;
constexpr uint32_t kSoundRates[] = {5512, 11025, 22050, 44100};

bool IsAvc(const StreamHeader& header) {
    return !header.isEnhanced && header.kind == TrackKind::kVideo && header.codec == kAvc;
}

bool IsSound(const StreamHeader& header, uint32_t codec) {
    return !header.isEnhanced && header.kind == TrackKind::kAudio && header.codec == codec;
}

// A header byte as recorders write it: a codec that is used, and of video a frame type.
bool IsLikely(TrackKind kind, uint8_t byte) {
    if (kind == TrackKind::kAudio) return byte >> 4 == kMp3 || byte >> 4 == kAac;
    uint8_t frameType = byte >> 4, codec = byte & 15;
    return frameType >= 1 && frameType <= 3 && codec >= 2 && codec <= kOtherHevc;
}

bool BeginsWithStartCode(const std::vector<uint8_t>& bytes) {
    return bytes.size() >= 4 && bytes[0] == 0 && bytes[1] == 0 &&
           (bytes[2] == 1 || (bytes[2] == 0 && bytes[3] == 1));
}

bool IsUnknown(const StreamHeader& header) {
    if (header.isEnhanced) return false;
    bool hasPackets = IsAvc(header) || IsSound(header, kAac);
    bool isOddPacket = hasPackets && header.packetType > kLastPacketType;
    bool isOddFrame =
            header.kind == TrackKind::kVideo && (header.frameType == 0 || header.frameType > kLastFrameType);
    return isOddPacket || isOddFrame || !IsKnownCodec(header);
}

// Whether the lengths before the NAL units of a sample lead to its end.
bool IsPrefixed(TagChain& chain, int64_t at, int64_t end, size_t lengthSize) {
    for (int i = 0; i < kMostUnits && at < end; ++i) {
        const std::vector<uint8_t> bytes = chain.bytes(at, lengthSize);
        if (bytes.size() < lengthSize) return false;
        int64_t length = 0;
        for (uint8_t byte : bytes)
            length = length << 8 | byte;
        at += static_cast<int64_t>(lengthSize);
        if (length > end - at) return false;
        at += length;
    }
    return true;
}

}  // namespace

void StreamChecks::look(const TagUnit& unit, const StreamHeader& header, int64_t timeMs, bool isCut) {
    if (mTags++ == 0) mFirstTag = unit.offset();
    lookAtStrayBytes(unit, header);
    if (header.isCommand) return;
    lookAtCodec(unit, header);
    if (header.isConfiguration) lookAtConfiguration(unit, header, timeMs);
    if (!header.isSample()) return;
    if (IsAvc(header) && mLengthSize > 0 && !isCut) lookAtPayload(unit, header);
    if (header.isKeyFrame()) lookAtTrimming(unit, header);
    if (mKind == TrackKind::kAudio) lookAtSound(unit, header);
}

void StreamChecks::lookAtCodec(const TagUnit& unit, const StreamHeader& header) {
    if (IsUnknown(header)) mOdd.add(unit.offset());
    if (mCodec && !mCodec->isSameCodec(header) && mSwitches++ == 0) mFirstSwitch = unit.offset();
    mCodec = header;
    bool isNew = std::find(mCodecs.begin(), mCodecs.end(), header.codec) == mCodecs.end();
    if (isNew && mCodecs.size() < kMostCodecs) mCodecs.push_back(header.codec);
}

void StreamChecks::lookAtStrayBytes(const TagUnit& unit, const StreamHeader& header) {
    if (header.isEnhanced || unit.dataSize <= kStrayBytes) return;
    if (IsLikely(mKind, unit.data[0])) return;
    ++mUnlikely;
    ++mFirstBytes[unit.data[0]];
    ++mFifthBytes[unit.data[kStrayBytes]];
}

void StreamChecks::lookAtConfiguration(const TagUnit& unit, const StreamHeader& header, int64_t timeMs) {
    const size_t size =
            std::min<size_t>(unit.dataSize - std::min(unit.dataSize, header.size), kLongestRecord);
    std::vector<uint8_t> record = mChain.bytes(unit.dataOffset() + header.size, size);
    if (!IsAvc(header) && !IsSound(header, kAac)) return;
    std::string text = describeConfiguration(header, record);
    if (text.empty()) {
        mFindings.add(Kind::kConfigurationBroken, unit.dataOffset() + header.size,
                      fmt::format("the {} configuration of {} {}", kindName(), CountText(size, "byte"),
                                  BeginsWithStartCode(record) ? "is in Annex B form, where a record belongs"
                                                              : "does not describe a stream"));
        return;
    }
    if (!mRecord.empty() && record != mRecord) {
        mFindings.add(Kind::kConfigurationChange, unit.offset(),
                      fmt::format("the {} goes from {} to {} at {} s", kindName(), mRecordText,
                                  text == mRecordText ? "another configuration of the same" : text,
                                  FormatSeconds(timeMs * 1000)));
    }
    mRecord = std::move(record);
    mRecordText = text;
}

// Empty when it cannot be read.
std::string StreamChecks::describeConfiguration(const StreamHeader& header,
                                                const std::vector<uint8_t>& record) {
    if (mKind == TrackKind::kAudio) {
        std::optional<AudioSpecificConfig> config = ParseAudioSpecificConfig(record);
        if (!config) return "";
        return fmt::format("{} {} Hz with channel configuration {}", config->profile(), config->outputRate,
                           config->channelConfiguration);
    }
    std::optional<ParameterSets> sets = ParseAvcConfiguration(record);
    if (!IsAvc(header) || !sets || sets->units.empty() || record[0] != 1) return "";
    std::optional<AvcPictureSize> size = ParseAvcPictureSize(sets->units[0]);
    if (!size) return "";
    mLengthSize = sets->nalLengthSize;
    return fmt::format("{}@{} {}x{}", sets->profile, sets->level, size->width, size->height);
}

void StreamChecks::lookAtPayload(const TagUnit& unit, const StreamHeader& header) {
    ++mPayloads;
    const int64_t at = unit.dataOffset() + header.size;
    if (IsPrefixed(mChain, at, unit.next(), mLengthSize)) return;
    mHasStartCodes = mHasStartCodes || BeginsWithStartCode(mChain.bytes(at, kStrayBytes));
    mUnprefixed.add(unit.offset());
}

// A picture's size is that of its blocks less this byte, which stands before every key frame's data.
void StreamChecks::lookAtTrimming(const TagUnit& unit, const StreamHeader& header) {
    if (header.isEnhanced || (header.codec != kVp6 && header.codec != kVp6Alpha)) return;
    const uint8_t trimming = unit.data[1];
    if (mTrimming && *mTrimming != trimming) {
        mFindings.addCaused(Kind::kConfigurationChange, unit.offset(),
                            fmt::format("the video trims {} columns and {} rows, and {} and {} before",
                                        trimming >> 4, trimming & 15, *mTrimming >> 4, *mTrimming & 15),
                            "another trimming");
    }
    mTrimming = trimming;
}

// AAC's tag header is 44 kHz and stereo by rule, so only another one can contradict.
void StreamChecks::lookAtSound(const TagUnit& unit, const StreamHeader& header) {
    const uint32_t rate = kSoundRates[unit.data[0] >> 2 & 3], channels = (unit.data[0] & 1) + 1u;
    uint32_t trueRate = rate, trueChannels = channels;
    constexpr uint8_t kAacByRule = 0xaf;
    if (IsSound(header, kMp3)) {
        std::optional<Mp3Header> own = ParseMp3Header(ByteSpan(&unit.data[1], unit.data.size() - 1));
        if (own) trueRate = own->sampleRate, trueChannels = own->channels;
    } else if (IsSound(header, kAac) && unit.data[0] != kAacByRule) {
        std::optional<AudioSpecificConfig> config = ParseAudioSpecificConfig(mRecord);
        if (config) trueRate = config->sampleRate;
        if (config && config->channelConfiguration >= 1 && config->channelConfiguration <= 2)
            trueChannels = config->channelConfiguration;
    }
    bool isSameRate = rate == trueRate || (rate == 5512 && trueRate < 8001);
    if (isSameRate && channels == trueChannels) return;
    mContradicted.add(unit.offset());
    if (mContradicted.times == 1) {
        mContradiction =
                fmt::format("the tag's header says {} Hz and {}, the codec's own {} Hz and {}", rate,
                            CountText(channels, "channel"), trueRate, CountText(trueChannels, "channel"));
    }
}

// Where the byte after four others is a header and the first is none, in nearly all tags. A codec's own bytes
// may look like that, but then its header is always the same and not 0.
void StreamChecks::tellStrayBytes() {
    uint64_t shifted = 0;
    for (size_t i = 0; i < mFifthBytes.size(); ++i)
        shifted += IsLikely(mKind, static_cast<uint8_t>(i)) ? mFifthBytes[i] : 0;
    auto different =
            std::count_if(mFirstBytes.begin(), mFirstBytes.end(), [](uint64_t times) { return times > 0; });
    bool isHeader = different < 3 && mFirstBytes[0] == 0;
    if (isHeader || mTags < kEnoughTags || mUnlikely * 10 < mTags * 9 || shifted * 10 < mTags * 9) return;
    mFindings.add(Kind::kStrayBytes, mFirstTag,
                  fmt::format("in {} of {} tags {} stray bytes stand before the {} header", shifted, mTags,
                              kStrayBytes, kindName()),
                  shifted);
}

void StreamChecks::finish() {
    tellStrayBytes();
    if (flaps()) {
        mFindings.add(Kind::kCodecFlaps, mFirstSwitch,
                      fmt::format("the {} changes its codec {} times, among {}", kindName(), mSwitches,
                                  CountText(mCodecs.size(), "codec")),
                      mSwitches);
    }
    if (mOdd.times > 0) {
        mFindings.add(
                mOdd.times >= kManyOdd ? Kind::kUnknownValues : Kind::kUnknownValue, mOdd.offset,
                fmt::format("{} with a codec, frame type or packet type that FLV does not have",
                            CountText(mOdd.times, mKind == TrackKind::kVideo ? "video tag" : "audio tag")),
                mOdd.times);
    }
    if (mUnprefixed.times > 0) {
        mFindings.add(
                Kind::kPayloadForm, mUnprefixed.offset,
                fmt::format("{} of {} are not NAL units after lengths of {} as the record says{}",
                            mUnprefixed.times, CountText(mPayloads, "sample"), CountText(mLengthSize, "byte"),
                            mHasStartCodes ? ", but after start codes" : ""),
                mUnprefixed.times);
    }
    if (mContradicted.times > 0) {
        mFindings.add(Kind::kSoundHeader, mContradicted.offset,
                      fmt::format("{} ({})", mContradiction, CountText(mContradicted.times, "tag")),
                      mContradicted.times);
    }
}

}  // namespace orvel
