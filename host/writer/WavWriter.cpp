// SPDX-License-Identifier: Apache-2.0
#include "writer/WavWriter.h"

#include <algorithm>
#include <limits>

#include "writer/AdpcmDecoder.h"
#include "writer/LittleEndian.h"

namespace orvel {
namespace {

constexpr size_t kMostJoined = 2048;

uint32_t Saturate(uint64_t value) {
    return static_cast<uint32_t>(std::min<uint64_t>(value, std::numeric_limits<uint32_t>::max()));
}

void FillPcm(WavHead* head, uint16_t bitsPerSample) {
    head->bitsPerSample = bitsPerSample;
    head->blockAlign = static_cast<uint16_t>(head->channels * bitsPerSample / 8);
    head->bytesPerSecond = head->sampleRate * head->blockAlign;
}

}  // namespace

std::vector<uint8_t> WavHead::bytes() const {
    bool isPcm = formatTag == kWaveFormatPcm;
    LittleEndian fields;
    fields.text("WAVE").text("fmt ").u32(isPcm ? 16 : 18);
    fields.u16(formatTag).u16(channels).u32(sampleRate).u32(bytesPerSecond);
    fields.u16(blockAlign).u16(bitsPerSample);
    if (!isPcm) fields.u16(0).text("fact").u32(4).u32(Saturate(sampleCount));
    fields.text("data").u32(Saturate(dataSize));
    uint64_t riffSize = fields.bytes().size() + dataSize + dataSize % 2;
    std::vector<uint8_t> head = LittleEndian().text("RIFF").u32(Saturate(riffSize)).bytes();
    head.insert(head.end(), fields.bytes().begin(), fields.bytes().end());
    return head;
}

WavWriter::WavWriter(const TrackFormat& format, uint16_t formatTag, AtomicFile& file)
    : mChannels(format.channelCount == 2 ? 2 : 1), mFile(file) {
    mHead.formatTag = formatTag;
    mHead.channels = mChannels;
    mHead.sampleRate = static_cast<uint32_t>(format.sampleRate);
    mFile.write(mHead.bytes());
}

void WavWriter::writeData(ByteSpan bytes) {
    mFile.write(bytes);
    mHead.dataSize += bytes.size;
}

void WavWriter::finish() {
    constexpr uint8_t kPadding = 0;
    if (mHead.dataSize % 2 != 0) mFile.write(ByteSpan(&kPadding, 1));
    complete(&mHead);
    mFile.overwrite(0, mHead.bytes());
}

void PcmWidth::add(const AccessUnit& sample) {
    if (!mHasFirst) mFirstUs = sample.timeUs;
    mHasFirst = true;
    mLastUs = sample.timeUs;
    mBytesBeforeLast = mBytes;
    mBytes += sample.bytes.size;
}

uint16_t PcmWidth::bitsPerSample(int32_t sampleRate, int32_t channels) const {
    double seconds = static_cast<double>(mLastUs - mFirstUs) / 1e6;
    if (seconds <= 0 || sampleRate <= 0) return 16;
    double bytesPerSample = static_cast<double>(mBytesBeforeLast) / (seconds * sampleRate * channels);
    return bytesPerSample < 1.5 ? 8 : 16;
}

void PcmWriter::write(const AccessUnit& sample) {
    mWidth.add(sample);
    writeData(sample.bytes);
}

void PcmWriter::complete(WavHead* head) const {
    FillPcm(head, mWidth.bitsPerSample(static_cast<int32_t>(head->sampleRate), mChannels));
}

bool AdpcmWriter::CanHold(const PacketSizes& sizes) {
    return sizes.areEqual && sizes.size > kMostJoined && sizes.size <= std::numeric_limits<uint16_t>::max();
}

AdpcmWriter::AdpcmWriter(const TrackFormat& format, const PacketSizes& sizes, AtomicFile& file)
    : WavWriter(format, kWaveFormatAdpcmSwf, file), mBlockAlign(static_cast<uint16_t>(sizes.size)) {}

void AdpcmWriter::write(const AccessUnit& sample) {
    size_t count = CountAdpcmSamples(sample.bytes, mChannels);
    if (mSamplesInBlock == 0) mSamplesInBlock = count;
    mSampleCount += count;
    writeData(sample.bytes);
}

void AdpcmWriter::complete(WavHead* head) const {
    head->blockAlign = mBlockAlign;
    head->bitsPerSample = 4;
    head->sampleCount = mSampleCount;
    uint64_t samples = std::max<uint64_t>(mSamplesInBlock, 1);
    head->bytesPerSecond = Saturate(uint64_t{head->sampleRate} * mBlockAlign / samples);
}

void DecodedAdpcmWriter::write(const AccessUnit& sample) {
    mDecoded.clear();
    DecodeAdpcm(sample.bytes, mChannels, &mDecoded);
    LittleEndian bytes;
    for (int16_t value : mDecoded)
        bytes.u16(static_cast<uint16_t>(value));
    writeData(bytes.bytes());
}

void DecodedAdpcmWriter::complete(WavHead* head) const {
    FillPcm(head, 16);
}

std::string DecodedAdpcmWriter::remark() const {
    return "its packets differ in size or are too small for a block alignment; written decoded, as PCM";
}

}  // namespace orvel
