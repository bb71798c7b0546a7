// SPDX-License-Identifier: Apache-2.0
// The value of "onMetaData" in a script tag: numbers that are kept must stand in the file.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

#include "FlvLimits.h"
#include "FlvReader.h"
#include "Utils.h"
#include "support/Allocations.h"
#include "support/ByteSource.h"

using namespace orvel;

namespace {

constexpr uint8_t kFileHeader[] = {'F', 'L', 'V', 1, 0, 0, 0, 0, 9, 0, 0, 0, 0};
constexpr uint8_t kName[] = {2, 0, 10, 'o', 'n', 'M', 'e', 't', 'a', 'D', 'a', 't', 'a'};
constexpr size_t kTagHeader = 11;
constexpr size_t kValueAt = sizeof(kFileHeader) + kTagHeader + sizeof(kName);
constexpr int64_t kMostBehindEnd = 65535;  // a text is passed over by its length

std::vector<uint8_t> MakeFile(ByteSpan value) {
    std::vector<uint8_t> file(kFileHeader, kFileHeader + sizeof(kFileHeader));
    file.push_back(18);
    for (const int shift : {16, 8, 0})
        file.push_back(static_cast<uint8_t>((sizeof(kName) + value.size) >> shift & 0xFF));
    file.resize(sizeof(kFileHeader) + kTagHeader);
    file.insert(file.end(), kName, kName + sizeof(kName));
    file.insert(file.end(), value.data, value.data + value.size);
    return file;
}

// Every number that stands at any place of the value, and 0, which other values count as.
std::vector<double> NumbersOf(ByteSpan value) {
    std::vector<double> numbers = {0.0};
    for (size_t i = 0; i + 9 <= value.size; ++i) {
        const uint64_t pattern = android::U64_AT(value.data + i + 1);
        double number;
        memcpy(&number, &pattern, sizeof(number));
        if (value[i] == 0 && !std::isnan(number)) numbers.push_back(number);
    }
    std::sort(numbers.begin(), numbers.end());
    return numbers;
}

void CheckIndex(const android::Vector<double>& index, const std::vector<double>& numbers, size_t most) {
    Require(index.size() <= std::min(most, FlvReader::kMaxIndexEntries), "an entry takes a byte of the file");
    for (const double entry : index)
        Require(std::binary_search(numbers.begin(), numbers.end(), entry), "entries come from the file");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const ByteSpan value(data, size);
    const std::vector<uint8_t> file = MakeFile(value);
    const std::vector<double> numbers = NumbersOf(value);
    const AllocationBudget budget(OpeningBudget(file.size()));
    bool ok = false;
    FlvReader::CFlv flv(new ByteSource(file), ok);
    Require(ok, "metadata keeps no file from being opened");
    CheckIndex(flv.mKeyFramePositions, numbers, size);
    CheckIndex(flv.mKeyFrameTimes, numbers, size);
    const size_t entries = flv.mKeyFrameTimes.size();
    flv.mDuration = 0;  // may have come from the end of the file
    flv.mFile->ByteSeek(static_cast<long>(kValueAt));
    flv.amf_parse_object("onMetaData", static_cast<int64_t>(file.size() + sizeof(kName)), 0);
    const int64_t behindEnd = flv.mFile->mOffset - static_cast<int64_t>(file.size());
    Require(flv.mFile->mOffset >= static_cast<int64_t>(kValueAt) && behindEnd <= kMostBehindEnd,
            "the position stays with the value");
    Require(size < 6 || flv.mKeyFrameTimes.size() == 2 * entries, "parsing is repeatable");
    const bool fromFile = std::any_of(numbers.begin(), numbers.end(), [&](double seconds) {
        const double ms = std::min(seconds * 1000, 4294967295.0);
        return flv.mDuration == (ms > 0 ? static_cast<uint32_t>(ms) : 0);
    });
    Require(fromFile, "the duration comes from the file");
    return 0;
}
