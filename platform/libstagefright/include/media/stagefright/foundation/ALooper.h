// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>

namespace android {

// Of the platform's event loop, only its clock.
class ALooper {
  public:
    // Microseconds since an arbitrary moment; never goes back, and does not follow changes of the time of
    // day.
    static int64_t GetNowUs();
};

}  // namespace android
