// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>
#include <sys/time.h>

#include "Export.h"

namespace android {

// Aids for debugging a component on a device. Log lines carry the tag "Utils" unless said otherwise.

// Logs, at debug priority, the length, up to the first 80 bytes in lines of sixteen, and from 17 bytes on the
// last sixteen. A buffer of 7 to 15 bytes shows its first six, a shorter one only its length.
ORVEL_API void PrintContent(const char* label, const void* data, int len);

// Logs, at debug priority, up to the first 64 bytes in lines of sixteen, then of eight, of four and of one,
// each with its offset and the total length.
ORVEL_API void hexdump(char* label, const unsigned char* data, unsigned int len);

// Appends size bytes to the file at path, which is created when missing. A size below 1 appends nothing, and
// neither does a file that cannot be opened; nothing tells the caller.
ORVEL_API void dumpFrame(const char* path, const void* data, int size);

// Logs the calling thread's stack, the caller's frame first, at debug priority under the tag "showBacktrace".
ORVEL_API void showBacktrace();

// Logs how long a piece of work took: make one, under the name of the work, in the scope that does it.
// Times are of the wall clock, in milliseconds with fractions dropped. An object belongs to one thread.
// Not to be derived from: the library is built without run-time type information, as the device's tree is.
class ORVEL_API MeasureTime {
  public:
    // Starts the clock. The name is copied; null counts as empty.
    MeasureTime(const char* name);

    // Logs the time since the start, at error priority, when it is 2 ms or more.
    virtual ~MeasureTime();

    MeasureTime(const MeasureTime&) = delete;
    MeasureTime& operator=(const MeasureTime&) = delete;

    // Logs the time since the start together with the label (null counts as empty), at error priority.
    // The clock runs on.
    void PrintCostTime(const char* label);

    void resetStartTime();

    // Milliseconds from the start to *now. A time before the start gives a large number without a meaning.
    uint32_t measure(timeval* now);

  private:
    timeval mStartTime;
    char* mName;
};

}  // namespace android
