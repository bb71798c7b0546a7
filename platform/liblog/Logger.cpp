// SPDX-License-Identifier: Apache-2.0
#include <android/log.h>

#include <errno.h>
#include <stdio.h>
#include <stdlib.h>

#include <atomic>
#include <new>

namespace {

std::atomic<__android_logger_function> gLogger{__android_log_stderr_logger};
std::atomic<int32_t> gMinimumPriority{ANDROID_LOG_DEFAULT};

// Logging must be safe between a failed call and the look at its errno.
class ErrnoKeeper {
  public:
    ErrnoKeeper() : mErrno(errno) {}
    ~ErrnoKeeper() { errno = mErrno; }
    ErrnoKeeper(const ErrnoKeeper&) = delete;
    ErrnoKeeper& operator=(const ErrnoKeeper&) = delete;

  private:
    const int mErrno;
};

bool isFiltered(int prio) {
    return prio < gMinimumPriority.load(std::memory_order_relaxed);
}

void deliver(int prio, const char* tag, const char* text) {
    const __android_log_message message{sizeof(__android_log_message), 0,       prio,
                                        tag != nullptr ? tag : "",     nullptr, 0,
                                        text != nullptr ? text : ""};
    gLogger.load(std::memory_order_acquire)(&message);
}

// Formats on the stack; only a text that does not fit there costs an allocation, and where none can be had
// its beginning is still logged.
void deliverFormatted(int prio, const char* tag, const char* fmt, va_list ap) {
    char shortText[1024];
    va_list again;
    va_copy(again, ap);
    const int length = vsnprintf(shortText, sizeof(shortText), fmt, ap);
    char* longText = nullptr;
    if (length >= static_cast<int>(sizeof(shortText))) {
        const size_t size = static_cast<size_t>(length) + 1;
        longText = new (std::nothrow) char[size];
        if (longText != nullptr) vsnprintf(longText, size, fmt, again);
    }
    va_end(again);
    // A format that cannot be carried out is worth logging as it stands.
    deliver(prio, tag, length < 0 ? fmt : longText != nullptr ? longText : shortText);
    delete[] longText;
}

char priorityLetter(int32_t priority) {
    static const char kLetters[] = "??VDIWEF";
    return priority >= 0 && priority <= ANDROID_LOG_FATAL ? kLetters[priority] : '?';
}

}  // namespace

int __android_log_write(int prio, const char* tag, const char* text) {
    if (isFiltered(prio)) return -EPERM;
    const ErrnoKeeper keeper;
    deliver(prio, tag, text);
    return 1;
}

int __android_log_vprint(int prio, const char* tag, const char* fmt, va_list ap) {
    if (isFiltered(prio)) return -EPERM;
    const ErrnoKeeper keeper;
    deliverFormatted(prio, tag, fmt, ap);
    return 1;
}

int __android_log_print(int prio, const char* tag, const char* fmt, ...) {
    va_list ap;
    va_start(ap, fmt);
    const int result = __android_log_vprint(prio, tag, fmt, ap);
    va_end(ap);
    return result;
}

void __android_log_assert(const char* cond, const char* tag, const char* fmt, ...) {
    if (fmt != nullptr) {
        va_list ap;
        va_start(ap, fmt);
        deliverFormatted(ANDROID_LOG_FATAL, tag, fmt, ap);
        va_end(ap);
    } else {
        char text[1024];
        snprintf(text, sizeof(text), "Assertion failed: %s", cond != nullptr ? cond : "(unspecified)");
        deliver(ANDROID_LOG_FATAL, tag, text);
    }
    abort();
}

void __android_log_set_logger(__android_logger_function logger) {
    gLogger.store(logger != nullptr ? logger : __android_log_stderr_logger, std::memory_order_release);
}

// One stdio call per line: the stream's own lock keeps the lines of threads apart.
void __android_log_stderr_logger(const struct __android_log_message* log_message) {
    fprintf(stderr, "%c/%s: %s\n", priorityLetter(log_message->priority), log_message->tag,
            log_message->message);
}

int32_t __android_log_set_minimum_priority(int32_t priority) {
    return gMinimumPriority.exchange(priority);
}

int32_t __android_log_get_minimum_priority(void) {
    return gMinimumPriority.load();
}
