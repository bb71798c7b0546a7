// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vector>

#include "writer/SampleWriter.h"

namespace orvel {

constexpr uint16_t kWaveFormatPcm = 0x0001;
constexpr uint16_t kWaveFormatAdpcmSwf = 0x5346;

// The fields of a WAVE file's head. Sizes beyond 32 bits are written as the largest, which readers take as
// "to the end of the file".
struct WavHead {
    uint16_t formatTag = kWaveFormatPcm;
    uint16_t channels = 0;
    uint32_t sampleRate = 0;
    uint32_t bytesPerSecond = 0;
    uint16_t blockAlign = 0;
    uint16_t bitsPerSample = 0;
    uint64_t dataSize = 0;
    uint64_t sampleCount = 0;  // a channel; in the "fact" chunk, which only compressed formats have

    std::vector<uint8_t> bytes() const;
};

// Common to all kinds: the head is written empty and filled in at the end, when the data's size is known.
class WavWriter : public SampleWriter {
  public:
    WavWriter(const TrackFormat& format, uint16_t formatTag, AtomicFile& file);
    void finish() final;

  protected:
    void writeData(ByteSpan bytes);
    virtual void complete(WavHead* head) const = 0;

    const uint16_t mChannels;

  private:
    AtomicFile& mFile;
    WavHead mHead;
};

// Tells 8-bit PCM from 16-bit, which a track's format leaves open: by the bytes that its samples hold and the
// time that passes between them. With fewer than two samples, 16.
class PcmWidth {
  public:
    void add(const AccessUnit& sample);
    uint16_t bitsPerSample(int32_t sampleRate, int32_t channels) const;

  private:
    bool mHasFirst = false;
    int64_t mFirstUs = 0;
    int64_t mLastUs = 0;
    uint64_t mBytesBeforeLast = 0;
    uint64_t mBytes = 0;
};

class PcmWriter : public WavWriter {
  public:
    PcmWriter(const TrackFormat& format, AtomicFile& file) : WavWriter(format, kWaveFormatPcm, file) {}
    void write(const AccessUnit& sample) override;

  protected:
    void complete(WavHead* head) const override;

  private:
    PcmWidth mWidth;
};

// ADPCM as it is. A packet decodes only as a whole, and a WAVE file knows no other boundary than its block
// alignment, so every packet must have the size of a block; the last one may be smaller. Readers gather small
// blocks into reads of up to 4096 bytes, which would join packets: of blocks above 2048 bytes only one fits.
class AdpcmWriter : public WavWriter {
  public:
    static bool CanHold(const PacketSizes& sizes);
    AdpcmWriter(const TrackFormat& format, const PacketSizes& sizes, AtomicFile& file);
    void write(const AccessUnit& sample) override;

  protected:
    void complete(WavHead* head) const override;

  private:
    const uint16_t mBlockAlign;
    size_t mSamplesInBlock = 0;
    uint64_t mSampleCount = 0;
};

// ADPCM whose packets do not fit a block alignment: decoded, written as 16-bit PCM.
class DecodedAdpcmWriter : public WavWriter {
  public:
    DecodedAdpcmWriter(const TrackFormat& format, AtomicFile& file)
        : WavWriter(format, kWaveFormatPcm, file) {}
    void write(const AccessUnit& sample) override;
    std::string remark() const override;

  protected:
    void complete(WavHead* head) const override;

  private:
    std::vector<int16_t> mDecoded;
};

}  // namespace orvel
