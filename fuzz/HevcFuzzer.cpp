// SPDX-License-Identifier: Apache-2.0
// HEVC parameter sets in Annex B form: the search for NAL units, the picture size and the configuration
// record, and what the program reads of that record.
#include <algorithm>
#include <cstring>
#include <vector>

#include "Utils.h"
#include "format/ParameterSets.h"
#include "support/Allocations.h"
#include "support/AnnexB.h"
#include "support/Require.h"

using namespace android;
using namespace orvel;

namespace {

constexpr size_t kRecordHeader = 23;

void CheckSize(const std::vector<uint8_t>& unit) {
    std::vector<uint8_t> copy = unit;
    const sp<ABuffer> sps = new ABuffer(copy.data(), copy.size());
    int width = -1, height = -1;
    FindHEVCDimensions(sps, &width, &height);
    Require((width > 0 && height > 0) || (width == 0 && height == 0), "a picture has both dimensions");
    Require(sps->size() == unit.size(), "the parameter set keeps its length");
    Require(std::equal(unit.begin(), unit.begin() + static_cast<long>(std::min<size_t>(2, unit.size())),
                       copy.begin()),
            "the NAL unit header is left alone");
}

void CheckRecord(ByteSpan record, const std::vector<uint8_t>& csd) {
    Require(record.size > kRecordHeader && record[0] == 1, "a record has its fixed bytes");
    size_t at = kRecordHeader;
    for (int i = record[kRecordHeader - 1]; i > 0; --i) {
        Require(record.size - at > 5 && record[at + 1] == 0 && record[at + 2] == 1,
                "an array holds one unit");
        const std::vector<uint8_t> unit = FirstUnit(csd, record[at]);
        const size_t length = size_t{record[at + 3]} << 8 | record[at + 4];
        Require(length == (unit.size() & 0xFFFF), "a length is its unit's");
        Require(unit.size() <= record.size - at - 5, "a unit lies in the record");
        const bool rewritten = record[at] == 33;
        Require(rewritten || memcmp(unit.data(), record.data + at + 5, unit.size()) == 0, "units are copied");
        at += 5 + unit.size();
    }
    Require(at == record.size, "the record ends with its last unit");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::vector<uint8_t> csd(data, data + size);
    ParseHevcConfiguration(ByteSpan(data, size));
    const AllocationBudget budget(OpeningBudget(size));
    for (const unsigned type : {32u, 33u, 34u, 39u}) {
        const sp<ABuffer> unit = FindHEVCNAL(data, size, type, nullptr);
        const std::vector<uint8_t> wanted = FirstUnit(csd, type);
        Require((unit == nullptr) == wanted.empty(), "a unit is found where there is one");
        if (unit == nullptr) continue;
        Require(std::equal(wanted.begin(), wanted.end(), unit->data(), unit->data() + unit->size()),
                "the unit is the first of its type");
        CheckSize(wanted);
    }
    std::vector<uint8_t> untouched = csd;
    const sp<MetaData> format = MakeHEVCCodecSpecificDataOv(new ABuffer(untouched.data(), size));
    Require(untouched == csd, "the parameter sets are not modified");
    uint32_t type;
    const void* record;
    size_t recordSize;
    if (format == nullptr) return 0;
    Require(format->findData(kKeyHVCC, &type, &record, &recordSize), "a format has its record");
    CheckRecord(ByteSpan(static_cast<const uint8_t*>(record), recordSize), csd);
    ParseHevcConfiguration(ByteSpan(static_cast<const uint8_t*>(record), recordSize));
    return 0;
}
