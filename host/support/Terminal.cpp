// SPDX-License-Identifier: Apache-2.0
#include "support/Terminal.h"

#include <errno.h>
#include <signal.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <algorithm>
#include <iterator>
#include <optional>
#include <utility>

#include "support/Failure.h"

namespace orvel {
namespace {

size_t gStatusLength = 0;

struct CodePoint {
    uint32_t value;
    size_t length;  // bytes
};

uint32_t ByteAt(std::string_view text, size_t i) {
    return static_cast<unsigned char>(text[i]);
}

// The first character of a text that is not empty, as Unicode's table 3-7 has UTF-8; nothing when the text
// begins with anything else.
std::optional<CodePoint> Decode(std::string_view text) {
    const uint32_t lead = ByteAt(text, 0);
    if (lead < 0x80) return CodePoint{lead, 1};
    const size_t length = lead < 0xc2 ? 0 : lead < 0xe0 ? 2 : lead < 0xf0 ? 3 : lead < 0xf5 ? 4 : 0;
    if (length == 0 || text.size() < length) return std::nullopt;
    uint32_t value = lead & (0x7f >> length);
    for (size_t i = 1; i < length; ++i) {
        if ((ByteAt(text, i) & 0xc0) != 0x80) return std::nullopt;
        value = value << 6 | (ByteAt(text, i) & 0x3f);
    }
    constexpr uint32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
    const bool isSurrogate = value >= 0xd800 && value <= 0xdfff;
    if (value < kSmallest[length] || value > 0x10ffff || isSurrogate) return std::nullopt;
    return CodePoint{value, length};
}

// What moves the cursor or begins a line, and what makes the characters that follow stand in another order
// than they have.
bool IsControl(uint32_t c) {
    constexpr std::pair<uint32_t, uint32_t> kRanges[] = {
            {0, 0x1f}, {0x7f, 0x9f}, {0x61c, 0x61c}, {0x200e, 0x200f}, {0x2028, 0x202e}, {0x2066, 0x2069}};
    return std::any_of(std::begin(kRanges), std::end(kRanges),
                       [c](const auto& range) { return range.first <= c && c <= range.second; });
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

// A byte that is not UTF-8 is escaped as well: to a terminal of eight bits, 0x9b begins a control sequence.
std::string EscapeControls(std::string_view text) {
    std::string out;
    while (!text.empty()) {
        const std::optional<CodePoint> c = Decode(text);
        const std::string_view bytes = text.substr(0, c ? c->length : 1);
        if (c && !IsControl(c->value)) {
            out += bytes;
        } else {
            for (char byte : bytes)
                out += fmt::format("\\x{:02x}", static_cast<unsigned char>(byte));
        }
        text.remove_prefix(bytes.size());
    }
    return out;
}

std::string EscapeJson(std::string_view json) {
    std::string out;
    while (!json.empty()) {
        const std::optional<CodePoint> c = Decode(json);
        const std::string_view bytes = json.substr(0, c ? c->length : 1);
        if (c && c->value > 0x7e && IsControl(c->value)) {
            out += fmt::format("\\u{:04x}", c->value);
        } else {
            out += bytes;
        }
        json.remove_prefix(bytes.size());
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
