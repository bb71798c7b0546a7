// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

#include <android/log.h>
#include <utils/String8.h>
#include <utils/Vector.h>

namespace android {

// The stack of a thread as text, one line a frame, innermost first:
//     #00 pc 000000000001a2b4  libexample.so (android::Source::read()+52)
// pc is the return address relative to the start of its binary, as addr2line takes it; names are demangled
// and are known for symbols that the binary exports (a program's own need -rdynamic). At most about 60
// frames. Not synchronised.
class CallStack {
  public:
    CallStack() = default;

    void clear();

    // Records the stack of the calling thread, replacing what was there. ignoreDepth frames are left out
    // above update itself: 0 begins with the function that called update, 1 with that function's caller; a
    // negative depth counts as 0. tid must be -1, the calling thread; any other thread gives an empty stack.
    void update(int32_t ignoreDepth = 1, pid_t tid = -1);

    // One log message per frame, each line after prefix (null for none).
    void log(const char* logtag, android_LogPriority priority = ANDROID_LOG_DEBUG,
             const char* prefix = nullptr) const;

    // All frames, each line after prefix and ended by a newline; empty for an empty stack.
    String8 toString(const char* prefix = nullptr) const;

    // Frames recorded.
    size_t size() const { return mFrameLines.size(); }

  private:
    Vector<String8> mFrameLines;
};

}  // namespace android
