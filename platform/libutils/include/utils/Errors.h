// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <errno.h>
#include <stdint.h>
#include <sys/types.h>

namespace android {

// The result of an operation: OK, or a negative code from this list or from
// <media/stagefright/MediaErrors.h>. Functions that return a size or an index (ssize_t) use the same negative
// codes for their errors.
typedef int32_t status_t;

// Most codes are the negative of the errno value that describes the same condition, so a system call's error
// passes through as -errno.
enum : status_t {
    OK = 0,
    NO_ERROR = OK,

    UNKNOWN_ERROR = INT32_MIN,

    NO_MEMORY = -ENOMEM,
    INVALID_OPERATION = -ENOSYS,
    BAD_VALUE = -EINVAL,
    BAD_TYPE = UNKNOWN_ERROR + 1,
    NAME_NOT_FOUND = -ENOENT,
    PERMISSION_DENIED = -EPERM,
    NO_INIT = -ENODEV,
    ALREADY_EXISTS = -EEXIST,
    DEAD_OBJECT = -EPIPE,
    BAD_INDEX = -EOVERFLOW,
    NOT_ENOUGH_DATA = -ENODATA,
    WOULD_BLOCK = -EWOULDBLOCK,
    TIMED_OUT = -ETIMEDOUT,
};

}  // namespace android
