// SPDX-License-Identifier: Apache-2.0
#include "picture/Picture.h"

#include <math.h>

#include <algorithm>

namespace orvel {

PictureSize FitInto(PictureSize box, double width, double height) {
    double scale = std::min(box.width / width, box.height / height);
    auto side = [scale](double length, int most) {
        return std::clamp(static_cast<int>(lround(length * scale)), 1, most);
    };
    return {side(width, box.width), side(height, box.height)};
}

}  // namespace orvel
