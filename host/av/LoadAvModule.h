// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "av/AvModule.h"

namespace orvel {

// The codec libraries' module, loaded at the first call. Throws as LoadModule does.
const AvModule& LoadAvModule();

}  // namespace orvel
