// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace orvel {

// Content-Range (RFC 9110, 14.4): "bytes 0-499/1234", "bytes 0-499/*" or "bytes */1234".
struct ContentRange {
    int64_t first = -1;  // offset of the first byte; -1 in the "*/1234" form
    int64_t last = -1;   // offset of the last byte, inclusive; -1 in the "*/1234" form
    int64_t total = -1;  // bytes of the whole file; -1 where the server wrote "*"
};

// What a reader of byte ranges needs to know of one response.
struct HttpAnswer {
    int status = 0;         // 100..999; 0 before the first status line
    bool complete = false;  // the empty line that ends the header section was seen
    std::optional<ContentRange> range;
    std::optional<int64_t> length;  // Content-Length
    std::string etag;               // with its quotes; empty when absent or weak ("W/...")
    std::string lastModified;       // as sent; only ever compared for equality
    bool encoded = false;           // Content-Encoding names anything but "identity"
};

// Status code of "HTTP/1.1 206 Partial Content", with or without line end; nothing for any other text.
std::optional<int> ParseStatusLine(std::string_view line);

// Value of a Content-Range field. Nothing unless it is in one of the three forms above with
// first <= last < total and every number within int64_t.
std::optional<ContentRange> ParseContentRange(std::string_view value);

// Value of a Content-Length field: decimal digits alone, within int64_t.
std::optional<int64_t> ParseContentLength(std::string_view value);

// Collects the header lines of one transfer, which may hold several responses: interim ones (1xx) and
// redirects come before the one that counts. Any bytes are safe input: memory is bounded by kMaxTotal.
class HttpHeaders {
  public:
    static constexpr size_t kMaxLine = 8u << 10;
    static constexpr size_t kMaxTotal = 64u << 10;  // of all responses of the transfer together

    // Takes one line, line end included. A status line after a complete section starts a new answer; other
    // lines there are trailers and do not count. False, and the transfer is to be refused, when the line
    // exceeds a limit, is no header line, or holds a malformed or contradicting Content-Range or
    // Content-Length.
    bool add(std::string_view line);

    // What add() has refused, as the object of "the server sent"; empty before.
    const std::string& fault() const { return fault_; }

    // The fault of a line beyond kMaxLine, for whoever finds one too long to be handed over.
    static std::string TooLongLine();

    // The latest response, as far as its lines were added.
    const HttpAnswer& answer() const { return answer_; }

  private:
    bool addField(std::string_view name, std::string_view value);
    bool refuse(std::string fault);

    HttpAnswer answer_;
    std::string fault_;
    size_t total_ = 0;
};

}  // namespace orvel
