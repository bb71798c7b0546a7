// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <vector>

namespace orvel {

struct PictureSize {
    int width = 0;
    int height = 0;
};

// A picture for a screen: red, green and blue of 8 bits each, row by row from the top, without padding.
struct Picture {
    PictureSize size;
    std::vector<uint8_t> rgb;

    Picture() = default;
    Picture(PictureSize s, uint8_t grey)
        : size(s), rgb(static_cast<size_t>(s.width) * static_cast<size_t>(s.height) * 3, grey) {}

    uint8_t* at(int x, int y) {
        return &rgb[(static_cast<size_t>(y) * static_cast<size_t>(size.width) + static_cast<size_t>(x)) * 3];
    }
};

// The size of the largest picture of the given shape that fits a box; no side is below 1.
PictureSize FitInto(PictureSize box, double width, double height);

}  // namespace orvel
