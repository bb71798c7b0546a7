// SPDX-License-Identifier: Apache-2.0
#include "writer/IvfWriter.h"

#include "writer/LittleEndian.h"

namespace orvel {
namespace {

constexpr uint16_t kHeadSize = 32;
constexpr uint64_t kFrameCountOffset = 24;

}  // namespace

IvfWriter::IvfWriter(const TrackFormat& format, AtomicFile& file) : mFile(file) {
    LittleEndian head;
    head.text("DKIF").u16(0).u16(kHeadSize);
    head.text(format.codec == Codec::kSorensonH263 ? "FLV1" : "VP6F");
    head.u16(static_cast<uint16_t>(format.width)).u16(static_cast<uint16_t>(format.height));
    head.u32(1000).u32(1);  // units of time in a second, as a fraction
    head.u32(0).u32(0);     // frame count, which comes at the end, and an unused field
    mFile.write(head.bytes());
}

void IvfWriter::write(const AccessUnit& sample) {
    LittleEndian frame;
    frame.u32(static_cast<uint32_t>(sample.bytes.size)).u64(static_cast<uint64_t>(sample.timeUs / 1000));
    mFile.write(frame.bytes());
    mFile.write(sample.bytes);
    ++mFrames;
}

void IvfWriter::finish() {
    mFile.overwrite(kFrameCountOffset, LittleEndian().u32(mFrames).bytes());
}

}  // namespace orvel
