// SPDX-License-Identifier: Apache-2.0
// ES descriptors as they are built and as the program parses them, and what is in them.
#include <cstring>
#include <vector>

#include "Utils.h"
#include "format/AudioConfiguration.h"
#include "support/Allocations.h"
#include "support/Require.h"

using namespace android;
using namespace orvel;

namespace {

void CheckEsDescriptor(ByteSpan info) {
    const sp<MetaData> format = new MetaData;
    AddESDSFromSpecificInfo(format, info.data, info.size);
    uint32_t type = 1;
    const void* descriptor = nullptr;
    size_t size = 0;
    const bool built = format->findData(kKeyESDS, &type, &descriptor, &size);
    Require(built == (info.size > 0), "a descriptor is built of any info");
    if (!built) return;
    const ByteSpan found = FindDecoderSpecificInfo(ByteSpan(static_cast<const uint8_t*>(descriptor), size));
    Require(found.size == info.size && memcmp(found.data, info.data, info.size) == 0, "the info is in there");
}

void CheckParsing(ByteSpan descriptor) {
    const ByteSpan info = FindDecoderSpecificInfo(descriptor);
    if (info.size == 0) return;
    Require(info.data >= descriptor.data && info.size <= descriptor.size &&
                    info.data + info.size <= descriptor.data + descriptor.size,
            "the info lies in its descriptor");
    ParseAudioSpecificConfig(info);
}

void CheckExtraData(std::vector<uint8_t> data) {
    const unsigned offset = PreProcessM4vExtraData(data.data(), static_cast<unsigned>(data.size()));
    Require(offset == 0 || offset < data.size(), "extra data ends within itself");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const AllocationBudget budget(OpeningBudget(size));
    CheckEsDescriptor(ByteSpan(data, size));
    CheckParsing(ByteSpan(data, size));
    CheckExtraData(std::vector<uint8_t>(data, data + size));
    return 0;
}
