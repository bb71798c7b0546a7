// SPDX-License-Identifier: Apache-2.0
#include "picture/ContactSheet.h"

#include <fmt/format.h>
#include <string.h>

#include <algorithm>

#include "picture/DigitFont.h"

namespace orvel {
namespace {

constexpr int kGap = 8;
constexpr uint8_t kGround = 0x18;
constexpr int kLongestTime = 12;  // characters: 100:00:00.000 still fits half a gap on either side

std::string Clock(int64_t timeUs) {
    int64_t ms = timeUs / 1000;
    int64_t s = ms / 1000;
    std::string seconds = fmt::format("{:02}.{:03}", s % 60, ms % 1000);
    if (s < 3600) return fmt::format("{}:{}", s / 60, seconds);
    return fmt::format("{}:{:02}:{}", s / 3600, s / 60 % 60, seconds);
}

PictureSize LargestSize(const std::vector<KeyPicture>& pictures) {
    PictureSize size;
    for (const KeyPicture& p : pictures) {
        size.width = std::max(size.width, p.picture.size.width);
        size.height = std::max(size.height, p.picture.size.height);
    }
    return size;
}

void Paste(const Picture& from, int x, int y, Picture* to) {
    size_t rowSize = static_cast<size_t>(from.size.width) * 3;
    for (int row = 0; row < from.size.height; ++row)
        memcpy(to->at(x, y + row), &from.rgb[static_cast<size_t>(row) * rowSize], rowSize);
}

}  // namespace

Picture MakeContactSheet(const std::vector<KeyPicture>& pictures, int columns) {
    int count = static_cast<int>(pictures.size());
    columns = std::min(columns, count);
    int rows = (count + columns - 1) / columns;
    PictureSize largest = LargestSize(pictures);
    int dotSize = largest.width >= 2 * kLongestTime * kGlyphWidth ? 2 : 1;
    int cellWidth = std::max(largest.width, kLongestTime * kGlyphWidth * dotSize);
    int textHeight = kGlyphHeight * dotSize + kGap / 2;
    int cellHeight = largest.height + textHeight;
    Picture sheet({kGap + columns * (cellWidth + kGap), kGap + rows * (cellHeight + kGap)}, kGround);
    for (int i = 0; i < count; ++i) {
        const KeyPicture& cell = pictures[static_cast<size_t>(i)];
        int x = kGap + i % columns * (cellWidth + kGap);
        int y = kGap + i / columns * (cellHeight + kGap);
        Paste(cell.picture, x + (cellWidth - cell.picture.size.width) / 2,
              y + (largest.height - cell.picture.size.height) / 2, &sheet);
        std::string time = Clock(cell.timeUs);
        int textWidth = (static_cast<int>(time.size()) * kGlyphWidth - 1) * dotSize;
        DrawDigits(time, std::max(0, x + (cellWidth - textWidth) / 2), y + largest.height + kGap / 2, dotSize,
                   &sheet);
    }
    return sheet;
}

}  // namespace orvel
