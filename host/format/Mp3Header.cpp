// SPDX-License-Identifier: Apache-2.0
#include "format/Mp3Header.h"

#include "format/BitReader.h"

namespace orvel {
namespace {

constexpr uint32_t kSync = 0x7ff, kReserved = 1, kMpeg1 = 3, kMpeg2 = 2, kSingleChannel = 3;
constexpr uint32_t kRates[] = {44100, 48000, 32000};  // of MPEG-1

}  // namespace

std::optional<Mp3Header> ParseMp3Header(ByteSpan frame) {
    BitReader bits(frame);
    uint32_t sync = bits.bits(11), version = bits.bits(2), layer = bits.bits(2);
    bits.bits(1);  // protection
    uint32_t bitRate = bits.bits(4), rate = bits.bits(2);
    bits.bits(2);  // padding, private
    uint32_t mode = bits.bits(2);
    if (!bits.ok() || sync != kSync || version == kReserved || layer == 0 || bitRate == 15 || rate == 3)
        return std::nullopt;
    Mp3Header header;
    header.layer = static_cast<int>(4 - layer);
    header.sampleRate = kRates[rate] / (version == kMpeg1 ? 1 : version == kMpeg2 ? 2 : 4);
    header.channels = mode == kSingleChannel ? 1 : 2;
    return header;
}

}  // namespace orvel
