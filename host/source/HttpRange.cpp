// SPDX-License-Identifier: Apache-2.0
#include "source/HttpRange.h"

#include <algorithm>

namespace orvel {
namespace {

enum HttpStatus {
    kOk = 200,
    kPartialContent = 206,
    kRangeNotSatisfiable = 416,
};

std::string Span(int64_t first, int64_t last) {
    return std::to_string(first) + "-" + std::to_string(last);
}

// No byte range lies within an empty file, so servers answer the opening request with 416 or, as an
// exception that RFC 9110 (14.2) allows, with the whole of nothing.
bool TellsEmptyFile(const RangeRequest& request, const HttpAnswer& answer) {
    if (request.known) return false;
    if (answer.status == kRangeNotSatisfiable) return answer.range && answer.range->total == 0;
    return answer.status == kOk && answer.length && *answer.length == 0;
}

std::string SizeFault(int64_t known, int64_t now) {
    return "the file changed: it had " + std::to_string(known) + " bytes when opened and has " +
           std::to_string(now) + " now";
}

std::string StatusFault(const RangeRequest& request, const HttpAnswer& answer) {
    if (answer.status == kPartialContent) return std::string();
    if (answer.status == kOk) return "the server ignores byte ranges (status 200 where 206 was expected)";
    const int64_t size = answer.range ? answer.range->total : -1;
    const bool beyondEnd = answer.status == kRangeNotSatisfiable && request.known && size >= 0;
    if (beyondEnd && size != request.known->size) return SizeFault(request.known->size, size);
    return "the server answered with status " + std::to_string(answer.status) + " where 206 was expected";
}

// A value that vanished differs as well: what sent the answer is then another file or another server.
std::string IdentityFault(const FileIdentity& known, const HttpAnswer& answer) {
    if (answer.range->total != known.size) return SizeFault(known.size, answer.range->total);
    if (answer.etag != known.etag) return "the file changed: its ETag is not the one it was opened with";
    if (answer.lastModified != known.lastModified) {
        return "the file changed: its Last-Modified is not the one it was opened with";
    }
    return std::string();
}

std::string SpanFault(const RangeRequest& request, const HttpAnswer& answer) {
    const ContentRange& range = *answer.range;
    const int64_t last = std::min(request.last, range.total - 1);
    if (range.first != request.first || range.last != last) {
        return "the server sent bytes " + Span(range.first, range.last) + " where " +
               Span(request.first, last) + " were expected";
    }
    const int64_t length = last - request.first + 1;
    if (answer.length && *answer.length != length) {
        return "the server announced " + std::to_string(*answer.length) + " bytes where " +
               std::to_string(length) + " were expected";
    }
    return std::string();
}

}  // namespace

std::string RangeAnswerFault(const RangeRequest& request, const HttpAnswer& answer) {
    if (TellsEmptyFile(request, answer)) return std::string();
    std::string fault = StatusFault(request, answer);
    if (!fault.empty()) return fault;
    if (answer.encoded) return "the server sent encoded content where plain bytes were expected";
    if (!answer.range || answer.range->first < 0) {
        return "the server did not say which bytes it sent (Content-Range was expected)";
    }
    if (answer.range->total < 0) return "the server did not tell the size of the file";
    if (request.known) fault = IdentityFault(*request.known, answer);
    return fault.empty() ? SpanFault(request, answer) : fault;
}

int64_t RangeAnswerLength(const RangeRequest& request, const HttpAnswer& answer) {
    if (TellsEmptyFile(request, answer)) return 0;
    return answer.range->last - answer.range->first + 1;
}

FileIdentity IdentityOf(const RangeRequest& request, const HttpAnswer& answer) {
    const int64_t size = TellsEmptyFile(request, answer) ? 0 : answer.range->total;
    return FileIdentity{size, answer.etag, answer.lastModified};
}

}  // namespace orvel
