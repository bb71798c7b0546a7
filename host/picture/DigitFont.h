// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

#include "picture/Picture.h"

namespace orvel {

// Digits, colon and full stop in cells of 6 by 7 dots, enough to write times. Other characters are left
// blank.
constexpr int kGlyphWidth = 6;
constexpr int kGlyphHeight = 7;

// Writes the text with its top left corner at (x, y), each dot a square of dotSize. All of it must lie
// inside.
void DrawDigits(std::string_view text, int x, int y, int dotSize, Picture* picture);

}  // namespace orvel
