// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>

#include <optional>
#include <string>
#include <string_view>

namespace orvel {

// A time as people type it, in microseconds: seconds ("90", "12.345", "-1"), minutes and seconds ("1:30.5")
// or hours, minutes and seconds ("0:01:30.500"). Behind a colon a field has one or two digits and is
// below 60. Digits past the microsecond are dropped. Nothing for any other text, or beyond 10^9 seconds
// either way.
std::optional<int64_t> ParseTime(std::string_view text);

// "12.345": seconds to the millisecond, which is as exact as FLV timestamps are.
std::string FormatSeconds(int64_t timeUs);

}  // namespace orvel
