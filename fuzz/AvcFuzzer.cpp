// SPDX-License-Identifier: Apache-2.0
// AVC decoder configuration records, and the two forms of AVC access units.
#include <cstring>
#include <vector>

#include "AvcConfiguration.h"
#include "FlvLimits.h"
#include "Utils.h"
#include "format/ParameterSets.h"
#include "support/Allocations.h"
#include "support/Require.h"

using namespace android;
using namespace orvel;

namespace {

using Bytes = std::vector<uint8_t>;

void CheckPictureSize(const Bytes& record) {
    Bytes copy = record;
    int32_t width = -1, height = -1;
    FlvReader::FindAvcPictureSize(copy.data(), copy.size(), &width, &height);
    Require(copy == record, "the record is not modified");
    Require((width == 0) == (height == 0), "a picture has both dimensions");
    const auto most = static_cast<int32_t>(FlvReader::kMaxPictureDimension);
    Require(width >= 0 && width <= most && height >= 0 && height <= most, "a picture has a sane size");
}

void CheckParameterSets(ByteSpan record) {
    const auto sets = ParseAvcConfiguration(record);
    if (!sets) return;
    size_t total = 0;
    for (const Bytes& unit : sets->units)
        total += unit.size();
    Require(total <= record.size, "parameter sets lie in their record");
    Require(sets->nalLengthSize >= 1 && sets->nalLengthSize <= 4, "a length field has 1 to 4 bytes");
}

// Lengths become start codes, and no other byte changes.
void CheckConversion(const Bytes& unit) {
    const int length = static_cast<int>(unit.size());
    Require((CheckH264Type(unit.data(), length) == -1) == (length < 4), "a form needs four bytes");
    Bytes converted = unit;
    const int done = H264DataPreprocess_AVC(converted.data(), length);
    Require(done >= 0 && done <= length, "what is converted lies in the unit");
    size_t at = 0;
    while (at < static_cast<size_t>(done)) {
        Require(memcmp(converted.data() + at, "\0\0\0\1", 4) == 0, "a unit has a start code");
        const size_t next = at + 4 + U32_AT(unit.data() + at);
        Require(std::equal(unit.begin() + static_cast<long>(at) + 4, unit.begin() + static_cast<long>(next),
                           converted.begin() + static_cast<long>(at) + 4),
                "a unit's bytes are its own");
        at = next;
    }
    Require(at == static_cast<size_t>(done), "conversion ends with a unit");
    Require(std::equal(unit.begin() + done, unit.end(), converted.begin() + done), "the rest is left alone");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const Bytes bytes(data, data + size);
    const AllocationBudget budget(OpeningBudget(size));
    CheckPictureSize(bytes);
    CheckParameterSets(bytes);
    CheckConversion(bytes);
    return 0;
}
