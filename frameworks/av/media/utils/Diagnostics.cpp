// SPDX-License-Identifier: Apache-2.0
#define LOG_TAG "Utils"
#include "Diagnostics.h"

#include <log/log.h>
#include <stdio.h>
#include <string.h>
#include <utils/CallStack.h>

namespace android {

namespace {

constexpr uint32_t kReportedMs = 2;
constexpr int kMaxContentBytes = 80;
constexpr unsigned int kMaxDumpedBytes = 64;

void logSixteen(const char* label, int offset, const uint8_t* b) {
    ALOGD("%s: %04X: %02x %02x %02x %02x %02x %02x %02x %02x %02x %02x %02x %02x %02x %02x %02x %02x", label,
          static_cast<unsigned int>(offset), b[0], b[1], b[2], b[3], b[4], b[5], b[6], b[7], b[8], b[9],
          b[10], b[11], b[12], b[13], b[14], b[15]);
}

void logShortContent(const char* label, const uint8_t* b, int len) {
    if (len < 7) {
        ALOGD("%s mInputBuffer Len = %d", label, len);
    } else {
        ALOGD("%s: %04X: %02x %02x %02x %02x %02x %02x", label, 0U, b[0], b[1], b[2], b[3], b[4], b[5]);
    }
}

void dumpSixteen(const char* label, int offset, int len, const unsigned char* b) {
    ALOGD("%s: (%.4d/%.4d) %.2x %.2x %.2x %.2x %.2x %.2x %.2x %.2x %.2x %.2x %.2x %.2x %.2x %.2x %.2x %.2x",
          label, offset, len, b[0], b[1], b[2], b[3], b[4], b[5], b[6], b[7], b[8], b[9], b[10], b[11], b[12],
          b[13], b[14], b[15]);
}

void dumpEight(const char* label, int offset, int len, const unsigned char* b) {
    ALOGD("%s: (%.4d/%.4d) %.2x %.2x %.2x %.2x %.2x %.2x %.2x %.2x", label, offset, len, b[0], b[1], b[2],
          b[3], b[4], b[5], b[6], b[7]);
}

void dumpFour(const char* label, int offset, int len, const unsigned char* b) {
    ALOGD("%s: (%.4d/%.4d) %.2x %.2x %.2x %.2x", label, offset, len, b[0], b[1], b[2], b[3]);
}

void dumpOne(const char* label, int offset, int len, const unsigned char* b) {
    ALOGD("%s: (%.4d/%.4d) %.2x ", label, offset, len, b[0]);
}

struct DumpLine {
    unsigned int size;
    void (*log)(const char* label, int offset, int len, const unsigned char* bytes);
};
constexpr DumpLine kDumpLines[] = {{16, dumpSixteen}, {8, dumpEight}, {4, dumpFour}, {1, dumpOne}};

void logSpentTime(const char* name, const char* label, uint32_t ms) {
    ALOGE("%s %s: spend time = %d ms", name, label, static_cast<int>(ms));
}

// Wraps around for times before the start.
uint32_t subtract(uint32_t a, uint32_t b) {
    uint32_t difference;
    (void)__builtin_sub_overflow(a, b, &difference);
    return difference;
}

timeval timeOfDay() {
    timeval now = {0, 0};
    gettimeofday(&now, nullptr);
    return now;
}

}  // namespace

void PrintContent(const char* label, const void* data, int len) {
    const uint8_t* bytes = static_cast<const uint8_t*>(data);
    ALOGD("%s iLen = %d", label, len);
    if (len < 0) return;
    for (int at = 0; at <= len - 16 && at < kMaxContentBytes; at += 16)
        logSixteen(label, at, bytes + at);
    if (len < 16) logShortContent(label, bytes, len);
    if (len >= 17) {
        ALOGD("%s The last Line:", label);
        logSixteen(label, len - 16, bytes + len - 16);
    }
}

void hexdump(char* label, const unsigned char* data, unsigned int len) {
    unsigned int offset = 0;
    for (const DumpLine& line : kDumpLines) {
        while (len - offset >= line.size && offset < kMaxDumpedBytes) {
            line.log(label, static_cast<int>(offset), static_cast<int>(len), data + offset);
            offset += line.size;
        }
    }
}

void dumpFrame(const char* path, const void* data, int size) {
    FILE* file = fopen(path, "ab+");
    if (file == nullptr) return;
    // A negative size is a caller's failed length; as an unsigned item size it would read far past the data.
    if (size > 0) fwrite(data, static_cast<size_t>(size), 1, file);
    fclose(file);
}

void showBacktrace() {
    CallStack stack;
    stack.update(1, -1);
    stack.log("showBacktrace", ANDROID_LOG_DEBUG, nullptr);
}

MeasureTime::MeasureTime(const char* name) : mStartTime(timeOfDay()) {
    if (name == nullptr) name = "";
    const size_t size = strlen(name) + 1;
    mName = new char[size];
    memcpy(mName, name, size);
}

MeasureTime::~MeasureTime() {
    timeval now = timeOfDay();
    const uint32_t ms = measure(&now);
    if (ms >= kReportedMs) logSpentTime(mName, "", ms);
    delete[] mName;
}

void MeasureTime::PrintCostTime(const char* label) {
    timeval now = timeOfDay();
    logSpentTime(mName, label == nullptr ? "" : label, measure(&now));
}

void MeasureTime::resetStartTime() {
    mStartTime = timeOfDay();
}

uint32_t MeasureTime::measure(timeval* now) {
    const uint32_t borrow = now->tv_usec < mStartTime.tv_usec ? 1 : 0;
    const uint32_t microseconds = subtract(static_cast<uint32_t>(now->tv_usec) + borrow * 1000000,
                                           static_cast<uint32_t>(mStartTime.tv_usec));
    const uint32_t seconds = subtract(
            subtract(static_cast<uint32_t>(now->tv_sec), static_cast<uint32_t>(mStartTime.tv_sec)), borrow);
    uint32_t wholeMs;
    (void)__builtin_mul_overflow(seconds, UINT32_C(1000), &wholeMs);
    const double ms = microseconds / 1000.0 + wholeMs;
    // A time before the start may sum up to more than 32 bits hold; by way of 64 bits it wraps everywhere
    // alike.
    return static_cast<uint32_t>(static_cast<uint64_t>(ms));
}

}  // namespace android
