// SPDX-License-Identifier: Apache-2.0
#include "writer/AnnexBWriter.h"

#include <fmt/format.h>
#include <string.h>

#include "support/CountText.h"

namespace orvel {
namespace {

constexpr uint8_t kStartCode[] = {0, 0, 0, 1};

bool HasStartCode(ByteSpan sample) {
    return sample.size >= sizeof(kStartCode) && memcmp(sample.data, kStartCode, sizeof(kStartCode)) == 0;
}

size_t ReadLength(ByteSpan bytes, size_t size) {
    size_t length = 0;
    for (size_t i = 0; i < size; ++i)
        length = length << 8 | bytes[i];
    return length;
}

void Append(ByteSpan bytes, std::vector<uint8_t>* out) {
    out->insert(out->end(), bytes.data, bytes.data + bytes.size);
}

}  // namespace

size_t AppendAnnexB(ByteSpan sample, size_t nalLengthSize, std::vector<uint8_t>* out) {
    if (HasStartCode(sample)) {
        Append(sample, out);
        return 0;
    }
    while (sample.size >= nalLengthSize) {
        size_t length = ReadLength(sample, nalLengthSize);
        if (length > sample.size - nalLengthSize) break;  // the rest is a unit that is cut
        if (length > 0) {
            Append(ByteSpan(kStartCode, sizeof(kStartCode)), out);
            Append(sample.from(nalLengthSize).first(length), out);
        }
        sample = sample.from(nalLengthSize + length);
    }
    if (sample.size <= nalLengthSize) return sample.size;
    Append(ByteSpan(kStartCode, sizeof(kStartCode)), out);
    Append(sample.from(nalLengthSize), out);
    return sample.size;
}

AnnexBWriter::AnnexBWriter(const ParameterSets& sets, AtomicFile& file)
    : mNalLengthSize(sets.nalLengthSize), mFile(file) {
    for (const std::vector<uint8_t>& unit : sets.units) {
        mFile.write(ByteSpan(kStartCode, sizeof(kStartCode)));
        mFile.write(unit);
    }
}

void AnnexBWriter::write(const AccessUnit& sample) {
    mConverted.clear();
    size_t left = AppendAnnexB(sample.bytes, mNalLengthSize, &mConverted);
    mFile.write(mConverted);
    if (left == 0) return;
    ++mDamagedSamples;
    mBytesInDoubt += left;
}

std::string AnnexBWriter::remark() const {
    if (mDamagedSamples == 0) return "";
    return fmt::format("{} with a damaged NAL unit length; the {} from there on are written as one NAL unit",
                       CountText(mDamagedSamples, "sample"), CountText(mBytesInDoubt, "byte"));
}

}  // namespace orvel
