// SPDX-License-Identifier: Apache-2.0
#include <media/stagefright/foundation/ALooper.h>

#include <chrono>

namespace android {

int64_t ALooper::GetNowUs() {
    using std::chrono::microseconds;
    using std::chrono::steady_clock;
    return std::chrono::duration_cast<microseconds>(steady_clock::now().time_since_epoch()).count();
}

}  // namespace android
