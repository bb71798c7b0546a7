// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android/log.h>

// Short forms of <android/log.h> for one source file, which defines LOG_TAG, a string, before it includes
// this header. Arguments are a printf format and its values; they are not evaluated when a macro is off.

#ifndef LOG_TAG
#define LOG_TAG nullptr
#endif

// Verbose messages are compiled (so that they cannot rot) but produce code only when LOG_NDEBUG is 0, which
// is the default of builds without NDEBUG.
#ifndef LOG_NDEBUG
#ifdef NDEBUG
#define LOG_NDEBUG 1
#else
#define LOG_NDEBUG 0
#endif
#endif

#define ALOGV(...)                                                                                          \
    do {                                                                                                    \
        if (!LOG_NDEBUG) static_cast<void>(__android_log_print(ANDROID_LOG_VERBOSE, LOG_TAG, __VA_ARGS__)); \
    } while (false)
#define ALOGD(...) static_cast<void>(__android_log_print(ANDROID_LOG_DEBUG, LOG_TAG, __VA_ARGS__))
#define ALOGI(...) static_cast<void>(__android_log_print(ANDROID_LOG_INFO, LOG_TAG, __VA_ARGS__))
#define ALOGW(...) static_cast<void>(__android_log_print(ANDROID_LOG_WARN, LOG_TAG, __VA_ARGS__))
#define ALOGE(...) static_cast<void>(__android_log_print(ANDROID_LOG_ERROR, LOG_TAG, __VA_ARGS__))

// Ends the process through __android_log_assert; the first in every build when cond holds, the second
// always. Both need a message.
#define LOG_ALWAYS_FATAL_IF(cond, ...) \
    (__builtin_expect(!!(cond), 0) ? __android_log_assert(#cond, LOG_TAG, __VA_ARGS__) : static_cast<void>(0))
#define LOG_ALWAYS_FATAL(...) __android_log_assert(nullptr, LOG_TAG, __VA_ARGS__)

// Ends the process when cond does not hold, in builds without NDEBUG only.
#ifdef NDEBUG
#define ALOG_ASSERT(cond, ...) static_cast<void>(0)
#else
#define ALOG_ASSERT(cond, ...) LOG_ALWAYS_FATAL_IF(!(cond), __VA_ARGS__)
#endif
