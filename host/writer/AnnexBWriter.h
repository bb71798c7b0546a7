// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vector>

#include "format/ParameterSets.h"
#include "writer/SampleWriter.h"

namespace orvel {

// Appends the NAL units of a sample to *out, each after the start code 00 00 00 01. A sample that begins
// with that start code has them already and is appended as it is; otherwise each unit stands after a
// big-endian length of nalLengthSize bytes (1 to 4). Empty units are passed over. What stands after a
// length that does not fit is a unit that is cut, and appended as one. Result: the bytes from that length on;
// 0 when all lengths fit.
size_t AppendAnnexB(ByteSpan sample, size_t nalLengthSize, std::vector<uint8_t>* out);

// A byte stream (Annex B of H.264 and H.265): the parameter sets first, then the samples.
class AnnexBWriter : public SampleWriter {
  public:
    AnnexBWriter(const ParameterSets& sets, AtomicFile& file);
    void write(const AccessUnit& sample) override;
    std::string remark() const override;

  private:
    const size_t mNalLengthSize;
    AtomicFile& mFile;
    std::vector<uint8_t> mConverted;
    uint64_t mDamagedSamples = 0;
    uint64_t mBytesInDoubt = 0;
};

}  // namespace orvel
