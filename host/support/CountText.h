// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <fmt/format.h>

#include <string>

namespace orvel {

// "1 read", "2 reads": a number with what it counts, whose plural ends in s.
template <typename Number>
std::string CountText(Number count, const char* noun) {
    return fmt::format("{} {}{}", count, noun, count == 1 ? "" : "s");
}

}  // namespace orvel
