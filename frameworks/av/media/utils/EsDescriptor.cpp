// SPDX-License-Identifier: Apache-2.0
#include "EsDescriptor.h"

#include <stddef.h>
#include <stdint.h>
#include <string.h>

#include <memory>

namespace android {

namespace {

// Class tags of ISO/IEC 14496-1, Table 1.
enum DescriptorTag : uint8_t { ES_DescrTag = 0x03, DecoderConfigDescrTag = 0x04, DecSpecificInfoTag = 0x05 };

constexpr size_t kMaxExpandableSize = (size_t(1) << 28) - 1;

// Fields of fixed size in front of the nested descriptor.
constexpr size_t kEsFields = 2 + 1;                         // ES_ID, flags and streamPriority
constexpr size_t kDecoderConfigFields = 1 + 1 + 3 + 4 + 4;  // objectTypeIndication to avgBitrate

// Bytes that an expandable size takes (ISO/IEC 14496-1, 8.3.3): seven bits each.
size_t expandableLength(size_t value) {
    size_t bytes = 1;
    while (value >>= 7)
        ++bytes;
    return bytes;
}

size_t descriptorSize(size_t bodySize) {
    return 1 + expandableLength(bodySize) + bodySize;
}

// Writes a tag and the size of its body; returns the position behind them.
uint8_t* writeHeader(uint8_t* out, DescriptorTag tag, size_t bodySize) {
    *out++ = tag;
    for (size_t group = expandableLength(bodySize); group-- > 1;) {
        *out++ = static_cast<uint8_t>(0x80 | (bodySize >> 7 * group & 0x7F));
    }
    *out++ = static_cast<uint8_t>(bodySize & 0x7F);
    return out;
}

uint8_t* writeZeros(uint8_t* out, size_t count) {
    memset(out, 0, count);
    return out + count;
}

}  // namespace

void AddESDSFromSpecificInfo(const sp<MetaData>& format, const void* info, unsigned long size) {
    if (info == nullptr || size == 0 || size > kMaxExpandableSize) return;
    const size_t decoderConfigSize = kDecoderConfigFields + descriptorSize(size);
    const size_t esSize = kEsFields + descriptorSize(decoderConfigSize);
    if (esSize > kMaxExpandableSize) return;

    const size_t total = descriptorSize(esSize);
    const std::unique_ptr<uint8_t[]> descriptor(new uint8_t[total]);
    uint8_t* out = writeHeader(descriptor.get(), ES_DescrTag, esSize);
    out = writeZeros(out, kEsFields);
    out = writeHeader(out, DecoderConfigDescrTag, decoderConfigSize);
    *out++ = size < 128 ? 0x40 : 0x01;  // objectTypeIndication
    out = writeZeros(out, kDecoderConfigFields - 1);
    out = writeHeader(out, DecSpecificInfoTag, size);
    memcpy(out, info, size);
    format->setData(kKeyESDS, 0, descriptor.get(), total);
}

}  // namespace android
