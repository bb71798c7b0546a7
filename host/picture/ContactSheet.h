// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vector>

#include "picture/KeyPictures.h"

namespace orvel {

// The pictures side by side in so many columns, or fewer when there are fewer pictures, each with its time
// under it. At least one picture. Cells have the size of the largest.
Picture MakeContactSheet(const std::vector<KeyPicture>& pictures, int columns);

}  // namespace orvel
