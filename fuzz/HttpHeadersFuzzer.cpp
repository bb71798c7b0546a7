// SPDX-License-Identifier: Apache-2.0
// The header lines of an HTTP server: what is taken from them, and whether the body may be used. The first
// four bytes say which bytes were asked for; the rest is the lines.
#include <algorithm>

#include "Utils.h"
#include "source/HttpRange.h"
#include "support/Allocations.h"
#include "support/Require.h"

using namespace orvel;

namespace {

constexpr size_t kRequestBytes = 4;
constexpr size_t kBudget = 4 * HttpHeaders::kMaxTotal + (64u << 10);

void CheckRange(const ContentRange& range) {
    if (range.first < 0) {
        Require(range.first == -1 && range.last == -1 && range.total >= 0,
                "a range without bounds has a size");
    } else {
        Require(range.first <= range.last, "a range ends behind its beginning");
        Require(range.total == -1 || range.last < range.total, "a range lies in its file");
    }
}

void CheckAnswer(const HttpAnswer& answer) {
    Require(answer.status == 0 || (answer.status >= 100 && answer.status <= 999),
            "a status has three digits");
    Require(!answer.complete || answer.status != 0, "a section begins with its status");
    Require(!answer.length || *answer.length >= 0, "a length is not negative");
    if (answer.range) CheckRange(*answer.range);
    const size_t most = HttpHeaders::kMaxLine;
    Require(answer.etag.size() < most && answer.lastModified.size() < most, "a value is part of a line");
}

[[maybe_unused]] void CheckUse(const RangeRequest& request, const HttpAnswer& answer) {
    const std::string fault = RangeAnswerFault(request, answer);
    const bool printable =
            std::all_of(fault.begin(), fault.end(), [](char c) { return c >= ' ' && c <= '~'; });
    Require(printable && fault.size() < 200, "a fault can be shown");
    if (!fault.empty()) return;
    const int64_t length = RangeAnswerLength(request, answer);
    Require(length >= 0 && length <= request.last - request.first + 1, "a body is what was asked for");
    Require(!answer.length || answer.status != 206 || *answer.length == length, "a body has its length");
    const FileIdentity identity = IdentityOf(request, answer);
    Require(identity.size == 0 || request.first + length <= identity.size, "a body lies in its file");
    if (!request.known) {
        CheckUse({request.first, request.last, identity}, answer);
    } else {
        Require(identity.size == request.known->size && identity.etag == request.known->etag &&
                        identity.lastModified == request.known->lastModified,
                "later answers are of the same file");
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < kRequestBytes) return 0;
    const int64_t first = android::U16_AT(data);
    const RangeRequest request{first, first + android::U16_AT(data + 2), std::nullopt};
    const std::string_view text(reinterpret_cast<const char*>(data) + kRequestBytes, size - kRequestBytes);
    const AllocationBudget budget(kBudget);
    HttpHeaders headers;
    for (size_t at = 0; at < text.size();) {
        const size_t end = std::min(text.find('\n', at), text.size() - 1);
        const std::string_view line = text.substr(at, end - at + 1);
        at = end + 1;
        const bool added = headers.add(line);
        CheckAnswer(headers.answer());
        if (!added) break;
        Require(at <= HttpHeaders::kMaxTotal, "lines are refused beyond the limit");
#ifndef ORVEL_MEMORY_SANITIZER  // faults hold numbers from std::to_string
        CheckUse(request, headers.answer());
#endif
    }
    return 0;
}
