// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "av/AvModule.h"

namespace orvel {

// The codec libraries' module, liborvel_flv_av.so, loaded at the first call. It is looked for beside the
// program, then in the folder orvel-flv of an installation's library folder. Throws Failure (kInputOutput),
// saying what is missing, when there is none or it cannot be loaded, as where the libraries are not
// installed.
const AvModule& LoadAvModule();

}  // namespace orvel
