// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <utils/Errors.h>

namespace android {

// The media framework's own status codes, beside those of <utils/Errors.h>.
enum : status_t {
    MEDIA_ERROR_BASE = -1000,

    ERROR_ALREADY_CONNECTED = MEDIA_ERROR_BASE,
    ERROR_NOT_CONNECTED = MEDIA_ERROR_BASE - 1,
    ERROR_UNKNOWN_HOST = MEDIA_ERROR_BASE - 2,
    ERROR_CANNOT_CONNECT = MEDIA_ERROR_BASE - 3,
    ERROR_IO = MEDIA_ERROR_BASE - 4,
    ERROR_CONNECTION_LOST = MEDIA_ERROR_BASE - 5,
    // The data break the rules of their format.
    ERROR_MALFORMED = MEDIA_ERROR_BASE - 7,
    ERROR_OUT_OF_RANGE = MEDIA_ERROR_BASE - 8,
    ERROR_BUFFER_TOO_SMALL = MEDIA_ERROR_BASE - 9,
    ERROR_UNSUPPORTED = MEDIA_ERROR_BASE - 10,
    // Not a failure: there is nothing more to read.
    ERROR_END_OF_STREAM = MEDIA_ERROR_BASE - 11,
};

}  // namespace android
