// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdarg.h>
#include <stddef.h>
#include <stdint.h>

// The platform log's C interface. Every function may be called from any thread at any time; none of them
// changes errno. A message has a priority, a tag (the component, usually one per source file; null counts as
// "") and a text without a final newline. Texts are passed to the logger whole, whatever their length.
//
// The names are the platform's own, reserved identifiers included.
// NOLINTBEGIN(bugprone-reserved-identifier)

#ifdef __cplusplus
extern "C" {
#endif

// In ascending order of urgency. DEFAULT as a minimum priority lets everything through; SILENT is only ever
// a minimum.
typedef enum android_LogPriority {
    ANDROID_LOG_UNKNOWN = 0,
    ANDROID_LOG_DEFAULT = 1,
    ANDROID_LOG_VERBOSE = 2,
    ANDROID_LOG_DEBUG = 3,
    ANDROID_LOG_INFO = 4,
    ANDROID_LOG_WARN = 5,
    ANDROID_LOG_ERROR = 6,
    ANDROID_LOG_FATAL = 7,
    ANDROID_LOG_SILENT = 8,
} android_LogPriority;

// Log one text, as it is or formatted as by printf. Result: 1 when the message went to the logger, -EPERM
// when its priority lies below the minimum (nothing is formatted then, so a filtered message costs a load
// and a comparison).
int __android_log_write(int prio, const char* tag, const char* text);
int __android_log_print(int prio, const char* tag, const char* fmt, ...)
        __attribute__((__format__(printf, 3, 4)));
int __android_log_vprint(int prio, const char* tag, const char* fmt, va_list ap)
        __attribute__((__format__(printf, 3, 0)));

// Ends the process by abort() after logging one line at fatal priority, which the minimum priority does not
// filter. The line is the formatted text; with a null fmt it names cond, the text of the condition that did
// not hold (may be null).
void __android_log_assert(const char* cond, const char* tag, const char* fmt, ...)
        __attribute__((__noreturn__)) __attribute__((__format__(printf, 3, 4)));

// One message as a logger gets it. The strings belong to the caller and live only during the call; tag and
// message are never null. file is null and line 0 where the place is not known. struct_size is
// sizeof(__android_log_message), so that fields can be added at the end.
struct __android_log_message {
    size_t struct_size;
    int32_t buffer_id;
    int32_t priority;
    const char* tag;
    const char* file;
    uint32_t line;
    const char* message;
};

typedef void (*__android_logger_function)(const struct __android_log_message* log_message);

// Replaces the logger; null restores the default. The logger is called on the thread that logs, on several
// threads at once, and must not throw. A call already under way in another thread may still reach the
// previous logger after this returns.
void __android_log_set_logger(__android_logger_function logger);

// The default logger: one line "D/Tag: message" on stderr, never interleaved with another thread's line.
void __android_log_stderr_logger(const struct __android_log_message* log_message);

// Messages below this priority are dropped. Initially ANDROID_LOG_DEFAULT. set returns the previous value.
int32_t __android_log_set_minimum_priority(int32_t priority);
int32_t __android_log_get_minimum_priority(void);

#ifdef __cplusplus
}
#endif

// NOLINTEND(bugprone-reserved-identifier)
