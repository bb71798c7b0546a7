// SPDX-License-Identifier: Apache-2.0
#include <android/log.h>

// The platform's log is formatted, so that its arguments are read, but shown nowhere.
extern "C" int LLVMFuzzerInitialize(int*, char***) {
    __android_log_set_logger([](const __android_log_message*) {});
    return 0;
}
