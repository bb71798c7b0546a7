// SPDX-License-Identifier: Apache-2.0
#include "support/TimeText.h"

#include <fmt/format.h>

#include <algorithm>

namespace orvel {
namespace {

constexpr int64_t kMicroseconds = 1000000;
constexpr int64_t kMostSeconds = 1000000000;

std::string_view TakeDigits(std::string_view* text) {
    size_t count = 0;
    while (count < text->size() && (*text)[count] >= '0' && (*text)[count] <= '9')
        ++count;
    std::string_view digits = text->substr(0, count);
    text->remove_prefix(count);
    return digits;
}

// No digits are no number, and more than a time can have are refused before they overflow.
std::optional<int64_t> Number(std::string_view digits) {
    if (digits.empty() || digits.size() > 10) return std::nullopt;
    int64_t value = 0;
    for (char c : digits)
        value = value * 10 + (c - '0');
    return value;
}

std::optional<int64_t> TakeWholeSeconds(std::string_view* text) {
    std::optional<int64_t> seconds = Number(TakeDigits(text));
    for (int field = 0; seconds && field < 2 && !text->empty() && text->front() == ':'; ++field) {
        text->remove_prefix(1);
        std::string_view digits = TakeDigits(text);
        std::optional<int64_t> part = Number(digits);
        if (!part || digits.size() > 2 || *part >= 60) return std::nullopt;
        seconds = *seconds * 60 + *part;
    }
    return seconds;
}

std::optional<int64_t> TakeFraction(std::string_view* text) {
    if (text->empty() || text->front() != '.') return 0;
    text->remove_prefix(1);
    std::string_view digits = TakeDigits(text);
    if (digits.empty()) return std::nullopt;
    std::string six(digits.substr(0, 6));
    six.resize(6, '0');
    return Number(six);
}

}  // namespace

std::optional<int64_t> ParseTime(std::string_view text) {
    bool negative = !text.empty() && text.front() == '-';
    if (negative) text.remove_prefix(1);
    std::optional<int64_t> seconds = TakeWholeSeconds(&text);
    if (!seconds || *seconds > kMostSeconds) return std::nullopt;
    std::optional<int64_t> fraction = TakeFraction(&text);
    if (!fraction || !text.empty()) return std::nullopt;
    int64_t timeUs = *seconds * kMicroseconds + *fraction;
    return negative ? -timeUs : timeUs;
}

std::string FormatSeconds(int64_t timeUs) {
    int64_t ms = timeUs / 1000;
    int64_t magnitude = ms < 0 ? -ms : ms;
    return fmt::format("{}{}.{:03}", ms < 0 ? "-" : "", magnitude / 1000, magnitude % 1000);
}

}  // namespace orvel
