// SPDX-License-Identifier: Apache-2.0
#include "source/HttpHeaders.h"

#include <algorithm>
#include <charconv>
#include <utility>

namespace orvel {
namespace {

bool IsBlank(char c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

std::string_view Trimmed(std::string_view text) {
    while (!text.empty() && IsBlank(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && IsBlank(text.back()))
        text.remove_suffix(1);
    return text;
}

// Not tolower(): header names are ASCII whatever the locale.
char Lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool EqualsIgnoringCase(std::string_view a, std::string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char x, char y) { return Lower(x) == Lower(y); });
}

bool StartsWith(std::string_view text, std::string_view prefix) {
    return text.substr(0, prefix.size()) == prefix;
}

std::optional<int64_t> ParseDecimal(std::string_view digits) {
    // from_chars takes a minus sign, which no HTTP number has.
    if (digits.empty() || digits.front() < '0' || digits.front() > '9') return std::nullopt;
    int64_t number = 0;
    const char* const end = digits.data() + digits.size();
    const auto [stop, error] = std::from_chars(digits.data(), end, number);
    if (error != std::errc() || stop != end) return std::nullopt;
    return number;
}

bool ParseBounds(std::string_view bounds, ContentRange* range) {
    const size_t dash = bounds.find('-');
    if (dash == std::string_view::npos) return false;
    const auto first = ParseDecimal(bounds.substr(0, dash));
    const auto last = ParseDecimal(bounds.substr(dash + 1));
    if (!first || !last || *first > *last) return false;
    range->first = *first;
    range->last = *last;
    return true;
}

bool SameRange(const ContentRange& a, const ContentRange& b) {
    return a.first == b.first && a.last == b.last && a.total == b.total;
}

}  // namespace

std::optional<int> ParseStatusLine(std::string_view line) {
    line = Trimmed(line);
    if (!StartsWith(line, "HTTP/")) return std::nullopt;
    const size_t space = line.find(' ');
    if (space == std::string_view::npos) return std::nullopt;
    const std::string_view rest = line.substr(space + 1);
    if (rest.size() > 3 && rest[3] != ' ') return std::nullopt;
    const std::string_view code = rest.substr(0, 3);
    const auto status = ParseDecimal(code);
    if (code.size() != 3 || !status || *status < 100) return std::nullopt;
    return static_cast<int>(*status);
}

std::optional<ContentRange> ParseContentRange(std::string_view value) {
    value = Trimmed(value);
    constexpr std::string_view kUnit = "bytes ";
    if (!EqualsIgnoringCase(value.substr(0, kUnit.size()), kUnit)) return std::nullopt;
    value = Trimmed(value.substr(kUnit.size()));
    const size_t slash = value.find('/');
    if (slash == std::string_view::npos) return std::nullopt;
    const std::string_view bounds = value.substr(0, slash);
    const std::string_view total = value.substr(slash + 1);

    ContentRange range;
    if (total != "*") {
        const auto bytes = ParseDecimal(total);
        if (!bytes) return std::nullopt;
        range.total = *bytes;
    }
    if (bounds == "*") return range.total < 0 ? std::nullopt : std::make_optional(range);
    if (!ParseBounds(bounds, &range)) return std::nullopt;
    if (range.total >= 0 && range.last >= range.total) return std::nullopt;
    return range;
}

std::optional<int64_t> ParseContentLength(std::string_view value) {
    return ParseDecimal(Trimmed(value));
}

bool HttpHeaders::add(std::string_view line) {
    if (line.size() > kMaxLine) return refuse(TooLongLine());
    if (line.size() > kMaxTotal - total_)
        return refuse("over " + std::to_string(kMaxTotal) + " bytes of headers");
    total_ += line.size();

    if (answer_.status == 0 || (answer_.complete && StartsWith(line, "HTTP/"))) {
        const auto status = ParseStatusLine(line);
        answer_ = HttpAnswer();
        answer_.status = status.value_or(0);
        return status.has_value() || refuse("a malformed status line");
    }
    if (answer_.complete) return true;
    if (Trimmed(line).empty()) {
        answer_.complete = true;
        return true;
    }
    const size_t colon = line.find(':');
    // A leading blank would continue the line before: RFC 9112, 5.2 lets a client refuse that.
    if (colon == std::string_view::npos || colon == 0 || IsBlank(line.front())) {
        return refuse("a malformed header line");
    }
    return addField(line.substr(0, colon), Trimmed(line.substr(colon + 1)));
}

std::string HttpHeaders::TooLongLine() {
    return "a header line of over " + std::to_string(kMaxLine) + " bytes";
}

bool HttpHeaders::refuse(std::string fault) {
    fault_ = std::move(fault);
    return false;
}

bool HttpHeaders::addField(std::string_view name, std::string_view value) {
    if (EqualsIgnoringCase(name, "Content-Range")) {
        const auto range = ParseContentRange(value);
        if (!range) return refuse("a Content-Range that is none");
        if (answer_.range && !SameRange(*answer_.range, *range))
            return refuse("two different Content-Ranges");
        answer_.range = range;
    } else if (EqualsIgnoringCase(name, "Content-Length")) {
        const auto length = ParseContentLength(value);
        if (!length) return refuse("a Content-Length that is none");
        if (answer_.length && *answer_.length != *length) return refuse("two different Content-Lengths");
        answer_.length = length;
    } else if (EqualsIgnoringCase(name, "Content-Encoding")) {
        answer_.encoded = answer_.encoded || !EqualsIgnoringCase(value, "identity");
    } else if (EqualsIgnoringCase(name, "ETag")) {
        answer_.etag = StartsWith(value, "W/") ? std::string_view() : value;
    } else if (EqualsIgnoringCase(name, "Last-Modified")) {
        answer_.lastModified = value;
    }
    return true;
}

}  // namespace orvel
