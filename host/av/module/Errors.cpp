// SPDX-License-Identifier: Apache-2.0
#include "Errors.h"

#include "Pointers.h"

extern "C" {
#include <libavutil/log.h>
}

namespace orvel {
namespace {

thread_local std::string gLastLine;

void KeepErrors(void* context, int level, const char* format, va_list arguments) {
    if (level > AV_LOG_ERROR) return;
    char line[512];
    int printPrefix = 0;
    av_log_format_line2(context, level, format, arguments, line, sizeof(line), &printPrefix);
    gLastLine = line;
    while (!gLastLine.empty() && (gLastLine.back() == '\n' || gLastLine.back() == '.'))
        gLastLine.pop_back();
}

}  // namespace

void CatchLibraryLog() {
    av_log_set_callback(KeepErrors);
}

void ThrowAvFailure(ExitCode code, const std::string& what, int error) {
    char text[AV_ERROR_MAX_STRING_SIZE] = "";
    av_strerror(error, text, sizeof(text));
    std::string why = gLastLine.empty() ? text : gLastLine;
    gLastLine.clear();
    throw Failure(code, what + " (the library says: " + why + ")");
}

void CheckAv(int result, const std::string& what) {
    if (result < 0) ThrowAvFailure(ExitCode::kInputOutput, what, result);
    gLastLine.clear();
}

}  // namespace orvel
