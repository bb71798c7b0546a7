// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>

#include "format/AudioConfiguration.h"
#include "writer/SampleWriter.h"

namespace orvel {

constexpr size_t kAdtsHeaderSize = 7;
constexpr size_t kMostAdtsPayload = 0x1fff - kAdtsHeaderSize;

// Why a stream with this configuration has no ADTS form (ISO/IEC 14496-3, 1.A.2.2), as a clause; empty when
// it has. ADTS carries the core stream of HE-AAC; a decoder finds the extension by itself.
std::string WhyNotAdts(const AudioSpecificConfig& config);

// The header, without CRC, in front of one raw frame of payloadSize bytes, at most kMostAdtsPayload.
std::array<uint8_t, kAdtsHeaderSize> MakeAdtsHeader(const AudioSpecificConfig& config, size_t payloadSize);

class AdtsWriter : public SampleWriter {
  public:
    AdtsWriter(const AudioSpecificConfig& config, AtomicFile& file) : mConfig(config), mFile(file) {}
    void write(const AccessUnit& sample) override;
    std::string remark() const override;

  private:
    const AudioSpecificConfig mConfig;
    AtomicFile& mFile;
    uint64_t mLeftOut = 0;
};

}  // namespace orvel
