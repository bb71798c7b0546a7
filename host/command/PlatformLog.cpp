// SPDX-License-Identifier: Apache-2.0
#include "command/PlatformLog.h"

#include <android/log.h>
#include <stdio.h>
#include <string.h>

#include <atomic>

#include "support/Terminal.h"

namespace orvel {
namespace {

constexpr char kTag[] = "FlvExtractor";
constexpr size_t kMostLines = 256;

std::atomic<int32_t> gShownFrom{ANDROID_LOG_SILENT};
thread_local LogCatcher* gCatcher = nullptr;

void Log(const __android_log_message* message) {
    if (gCatcher != nullptr && strcmp(message->tag, kTag) == 0) gCatcher->keep(message->message);
    if (message->priority < gShownFrom && message->priority < ANDROID_LOG_FATAL) return;
    std::string text = EscapeControls(message->message);
    __android_log_message shown = *message;
    shown.message = text.c_str();
    __android_log_stderr_logger(&shown);
}

}  // namespace

void SetUpPlatformLog(int verbosity) {
    gShownFrom = verbosity <= 0   ? ANDROID_LOG_SILENT
                 : verbosity == 1 ? ANDROID_LOG_INFO
                                  : ANDROID_LOG_VERBOSE;
    __android_log_set_minimum_priority(gShownFrom);
    __android_log_set_logger(Log);
}

LogCatcher::LogCatcher() {
    gCatcher = this;
    if (gShownFrom > ANDROID_LOG_DEBUG) __android_log_set_minimum_priority(ANDROID_LOG_DEBUG);
}

LogCatcher::~LogCatcher() {
    gCatcher = nullptr;
    __android_log_set_minimum_priority(gShownFrom);
}

const std::string* LogCatcher::find(const std::string& beginning) const {
    for (const std::string& line : mLines) {
        if (line.compare(0, beginning.size(), beginning) == 0) return &line;
    }
    return nullptr;
}

void LogCatcher::keep(const char* line) {
    if (mLines.size() < kMostLines) mLines.emplace_back(line);
}

}  // namespace orvel
