// SPDX-License-Identifier: Apache-2.0
#include "writer/AdtsWriter.h"

#include <fmt/format.h>

namespace orvel {

std::string WhyNotAdts(const AudioSpecificConfig& config) {
    if (config.objectType < kAacMain || config.objectType > kAacLtp) {
        return fmt::format("audio object type {}", config.objectType);
    }
    if (config.frequencyIndex > 12) return fmt::format("a sample rate of {} Hz", config.sampleRate);
    if (config.channelConfiguration == 0) return "a channel layout of its own";
    if (config.channelConfiguration > 7) {
        return fmt::format("channel configuration {}", config.channelConfiguration);
    }
    if (config.isShortFrame) return "frames of 960 samples";
    return "";
}

std::array<uint8_t, kAdtsHeaderSize> MakeAdtsHeader(const AudioSpecificConfig& config, size_t payloadSize) {
    constexpr uint32_t kSyncWordMpeg4NoCrc = 0xfff1;
    constexpr uint32_t kVariableRate = 0x7ff;  // adts_buffer_fullness
    auto frameLength = static_cast<uint32_t>(payloadSize + kAdtsHeaderSize);
    uint64_t header = kSyncWordMpeg4NoCrc;
    header = header << 2 | (config.objectType - 1);
    header = header << 4 | config.frequencyIndex;
    header = header << 1;  // private_bit
    header = header << 3 | config.channelConfiguration;
    header = header << 4;  // original_copy, home, copyright_identification_bit and _start
    header = header << 13 | frameLength;
    header = header << 11 | kVariableRate;
    header = header << 2;  // number_of_raw_data_blocks_in_frame: one
    std::array<uint8_t, kAdtsHeaderSize> bytes;
    for (size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<uint8_t>(header >> (8 * (6 - i)));
    return bytes;
}

void AdtsWriter::write(const AccessUnit& sample) {
    if (sample.bytes.size == 0 || sample.bytes.size > kMostAdtsPayload) {
        ++mLeftOut;
        return;
    }
    auto header = MakeAdtsHeader(mConfig, sample.bytes.size);
    mFile.write(ByteSpan(header.data(), header.size()));
    mFile.write(sample.bytes);
}

std::string AdtsWriter::remark() const {
    if (mLeftOut == 0) return "";
    return fmt::format("{} samples are longer than an ADTS frame can be and were left out", mLeftOut);
}

}  // namespace orvel
