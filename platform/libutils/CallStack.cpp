// SPDX-License-Identifier: Apache-2.0
#include <utils/CallStack.h>

#include <cxxabi.h>
#include <dlfcn.h>
#include <execinfo.h>
#include <inttypes.h>
#include <stddef.h>
#include <stdint.h>
#include <stdlib.h>
#include <string.h>

#include <algorithm>
#include <memory>

namespace android {

namespace {

constexpr int kMaxFrames = 64;

// Only C++ names: the demangler would take a C function named "f" for the encoded type float.
String8 demangled(const char* symbol) {
    if (strncmp(symbol, "_Z", 2) != 0) return String8(symbol);
    struct Free {
        void operator()(char* text) const { free(text); }
    };
    int status = 0;
    const std::unique_ptr<char, Free> name(abi::__cxa_demangle(symbol, nullptr, nullptr, &status));
    return String8(name != nullptr ? name.get() : symbol);
}

const char* baseName(const char* path) {
    const char* const slash = strrchr(path, '/');
    return slash != nullptr ? slash + 1 : path;
}

uintptr_t distance(const void* from, const void* to) {
    return reinterpret_cast<uintptr_t>(to) - reinterpret_cast<uintptr_t>(from);
}

// A return address can lie just behind the function that called (a call that never returns may be its last
// instruction), so the symbol is looked up one byte before.
String8 formatFrame(size_t index, const void* returnAddress) {
    Dl_info info{};
    if (dladdr(static_cast<const char*>(returnAddress) - 1, &info) == 0 || info.dli_fname == nullptr) {
        return String8::format("#%02zu pc %016" PRIxPTR "  <unknown>", index,
                               distance(nullptr, returnAddress));
    }
    String8 line = String8::format("#%02zu pc %016" PRIxPTR "  %s", index,
                                   distance(info.dli_fbase, returnAddress), baseName(info.dli_fname));
    if (info.dli_sname != nullptr) {
        line.appendFormat(" (%s+%" PRIuPTR ")", demangled(info.dli_sname).string(),
                          distance(info.dli_saddr, returnAddress));
    }
    return line;
}

}  // namespace

void CallStack::clear() {
    mFrameLines.clear();
}

// The caller's frame is the one that update returns to. How many precede it is not fixed: sanitizers put
// their own around backtrace().
void CallStack::update(int32_t ignoreDepth, pid_t tid) {
    clear();
    if (tid != -1) return;
    void* frames[kMaxFrames];
    void** const end = frames + backtrace(frames, kMaxFrames);
    void** frame = std::find(frames, end, __builtin_return_address(0));
    frame += std::min<ptrdiff_t>(std::max(ignoreDepth, 0), end - frame);
    for (; frame != end; ++frame)
        mFrameLines.add(formatFrame(mFrameLines.size(), *frame));
}

void CallStack::log(const char* logtag, android_LogPriority priority, const char* prefix) const {
    for (const String8& line : mFrameLines) {
        __android_log_print(priority, logtag, "%s%s", prefix != nullptr ? prefix : "", line.string());
    }
}

String8 CallStack::toString(const char* prefix) const {
    String8 text;
    for (const String8& line : mFrameLines) {
        text.append(prefix);
        text.append(line);
        text.append("\n");
    }
    return text;
}

}  // namespace android
