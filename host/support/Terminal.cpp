// SPDX-License-Identifier: Apache-2.0
#include "support/Terminal.h"

#include <errno.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include "support/Failure.h"

namespace orvel {
namespace {

size_t gStatusLength = 0;

bool IsC1(std::string_view text, size_t i) {
    if (static_cast<unsigned char>(text[i]) != 0xc2 || i + 1 >= text.size()) return false;
    auto next = static_cast<unsigned char>(text[i + 1]);
    return next >= 0x80 && next <= 0x9f;
}

// SIGPIPE is ignored while the program runs, since a socket may raise it too; here it is what ends a filter.
[[noreturn]] void EndAtClosedPipe() {
    signal(SIGPIPE, SIG_DFL);
    raise(SIGPIPE);
    throw Failure(ExitCode::kInputOutput, "standard output: " + std::string(strerror(EPIPE)));
}

void CheckOut(bool ok) {
    if (ok) return;
    if (errno == EPIPE) EndAtClosedPipe();
    throw Failure(ExitCode::kInputOutput, "standard output: " + std::string(strerror(errno)));
}

}  // namespace

std::string EscapeControls(std::string_view text) {
    std::string out;
    for (size_t i = 0; i < text.size(); ++i) {
        auto byte = static_cast<unsigned char>(text[i]);
        if (byte < 0x20 || byte == 0x7f) {
            out += fmt::format("\\x{:02x}", byte);
        } else if (IsC1(text, i)) {
            out += fmt::format("\\xc2\\x{:02x}", static_cast<unsigned char>(text[++i]));
        } else {
            out += text[i];
        }
    }
    return out;
}

// The status line is in the way only where both go to the same screen.
void WriteOut(std::string_view text) {
    if (gStatusLength > 0 && isatty(STDOUT_FILENO) != 0) ClearStatus();
    CheckOut(fwrite(text.data(), 1, text.size(), stdout) == text.size());
}

void FlushOut() {
    CheckOut(fflush(stdout) == 0);
}

// Overwritten rather than erased, so that it works without a terminal's escape sequences.
void ClearStatus() {
    if (gStatusLength == 0) return;
    std::string blank = "\r" + std::string(gStatusLength, ' ') + "\r";
    gStatusLength = 0;
    fwrite(blank.data(), 1, blank.size(), stderr);
}

void ShowStatus(std::string_view line) {
    std::string text = EscapeControls(line);
    ClearStatus();
    gStatusLength = text.size();
    fwrite(text.data(), 1, text.size(), stderr);
    fflush(stderr);
}

bool HasColours() {
    const char* off = getenv("NO_COLOR");
    const char* terminal = getenv("TERM");
    bool isRefused = off != nullptr && *off != '\0';
    bool isDumb = terminal == nullptr || strcmp(terminal, "dumb") == 0;
    return !isRefused && !isDumb && isatty(STDOUT_FILENO) != 0;
}

void Complain(std::string_view message) {
    fflush(stdout);
    ClearStatus();
    std::string line = "orvel-flv: " + EscapeControls(message) + "\n";
    fwrite(line.data(), 1, line.size(), stderr);
}

}  // namespace orvel
