// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <fmt/format.h>

#include <string>
#include <string_view>

namespace orvel {

// The text with the bytes of its control characters (C0, DEL, C1, line separators, and the marks that change
// the direction of writing) and those that are not UTF-8 written as \xNN, so that a file's name or metadata
// cannot move the cursor, recolour the screen, make a second line of a message or show itself as another.
std::string EscapeControls(std::string_view text);

// A JSON document with those of the same characters that JSON lets stand in a string written as \uNNNN. The
// document stays what it was.
std::string EscapeJson(std::string_view json);

// Standard output, for data only. A write that fails throws Failure (kInputOutput), except that a closed pipe
// ends the program at once and quietly, as a filter's reader going away always does.
void WriteOut(std::string_view text);
void FlushOut();
template <typename... T>
void PrintOut(fmt::format_string<T...> format, T&&... values) {
    WriteOut(fmt::format(format, std::forward<T>(values)...));
}

// A line on standard error that stays until the next output, as long as the window is wide enough;
// ClearStatus() takes it away. Never throw.
void ShowStatus(std::string_view line);
void ClearStatus();

// Whether to write in colours: standard output is a terminal that has them, and the user has not set
// NO_COLOR.
bool HasColours();

// One line on standard error: "orvel-flv: " and the message, escaped. Never throws.
void Complain(std::string_view message);

}  // namespace orvel
