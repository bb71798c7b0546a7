// SPDX-License-Identifier: Apache-2.0
#include "writer/AdpcmDecoder.h"

#include <algorithm>

#include "format/BitReader.h"

namespace orvel {
namespace {

constexpr size_t kWidthBits = 2;
constexpr size_t kStartBits = 16 + 6;  // first sample and step index, for each channel
constexpr size_t kCodesInBlock = 4095;
constexpr int kLastStep = 88;

constexpr int kSteps[kLastStep + 1] = {
        7,    8,     9,     10,    11,    12,    13,    14,    16,    17,    19,    21,    23,    25,   28,
        31,   34,    37,    41,    45,    50,    55,    60,    66,    73,    80,    88,    97,    107,  118,
        130,  143,   157,   173,   190,   209,   230,   253,   279,   307,   337,   371,   408,   449,  494,
        544,  598,   658,   724,   796,   876,   963,   1060,  1166,  1282,  1411,  1552,  1707,  1878, 2066,
        2272, 2499,  2749,  3024,  3327,  3660,  4026,  4428,  4871,  5358,  5894,  6484,  7132,  7845, 8630,
        9493, 10442, 11487, 12635, 13899, 15289, 16818, 18500, 20350, 22385, 24623, 27086, 29794, 32767};

// By the width of a code less 2, then by the code's magnitude.
constexpr int kStepChanges[4][16] = {
        {-1, 2},
        {-1, -1, 2, 4},
        {-1, -1, -1, -1, 2, 4, 6, 8},
        {-1, -1, -1, -1, -1, -1, -1, -1, 1, 2, 4, 6, 8, 10, 13, 16},
};

struct Channel {
    int sample = 0;
    int step = 0;

    void start(BitReader* reader) {
        sample = static_cast<int16_t>(reader->bits(16));
        step = std::min(static_cast<int>(reader->bits(6)), kLastStep);
    }

    void apply(uint32_t code, size_t width) {
        uint32_t sign = 1u << (width - 1);
        int size = kSteps[step];
        int difference = 0;
        for (uint32_t bit = sign >> 1; bit != 0; bit >>= 1, size >>= 1) {
            if ((code & bit) != 0) difference += size;
        }
        difference += size;
        sample = std::clamp(sample + ((code & sign) != 0 ? -difference : difference), -32768, 32767);
        step = std::clamp(step + kStepChanges[width - 2][code & (sign - 1)], 0, kLastStep);
    }
};

size_t ReadWidth(BitReader* reader) {
    return reader->bits(kWidthBits) + 2;
}

}  // namespace

size_t CountAdpcmSamples(ByteSpan packet, size_t channels) {
    if (packet.size == 0) return 0;
    BitReader reader(packet);
    size_t width = ReadWidth(&reader);
    size_t blockBits = (kStartBits + width * kCodesInBlock) * channels;
    size_t left = reader.bitsLeft() % blockBits;
    size_t count = reader.bitsLeft() / blockBits * (kCodesInBlock + 1);
    if (left >= kStartBits * channels) count += 1 + (left - kStartBits * channels) / (width * channels);
    return count;
}

void DecodeAdpcm(ByteSpan packet, size_t channels, std::vector<int16_t>* out) {
    BitReader reader(packet);
    size_t width = ReadWidth(&reader);
    Channel state[2];
    while (reader.ok() && reader.bitsLeft() >= kStartBits * channels) {
        for (size_t c = 0; c < channels; ++c) {
            state[c].start(&reader);
            out->push_back(static_cast<int16_t>(state[c].sample));
        }
        for (size_t i = 0; i < kCodesInBlock && reader.bitsLeft() >= width * channels; ++i) {
            for (size_t c = 0; c < channels; ++c) {
                state[c].apply(reader.bits(width), width);
                out->push_back(static_cast<int16_t>(state[c].sample));
            }
        }
    }
}

}  // namespace orvel
