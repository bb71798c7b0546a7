// SPDX-License-Identifier: Apache-2.0
#include "support/Terminal.h"

#include <gtest/gtest.h>

namespace orvel {
namespace {

struct Case {
    const char* text;
    const char* shown;
    const char* json;
};

TEST(TerminalTest, EscapesWhatATerminalWouldObey) {
    const Case cases[] = {
            {"caf\u00e9 \u4e2d \U0001f600 ~\u00a0", nullptr, nullptr},
            {"a\x1b[2Jb\r\n\t", "a\\x1b[2Jb\\x0d\\x0a\\x09", nullptr},
            {"\x7f|", "\\x7f|", "\\u007f|"},
            {"\u0080\u009b31m\u009f", "\\xc2\\x80\\xc2\\x9b31m\\xc2\\x9f", "\\u0080\\u009b31m\\u009f"},
            {"a\u202egpj.\u202c", "a\\xe2\\x80\\xaegpj.\\xe2\\x80\\xac", "a\\u202egpj.\\u202c"},
            {"\u202a\u2066x\u2069", "\\xe2\\x80\\xaa\\xe2\\x81\\xa6x\\xe2\\x81\\xa9",
             "\\u202a\\u2066x\\u2069"},
            {"\u2028\u200f", "\\xe2\\x80\\xa8\\xe2\\x80\\x8f", "\\u2028\\u200f"},
            {"\x9b"
             "31m\x80z",
             "\\x9b31m\\x80z", nullptr},
            {"\xe2\x80", "\\xe2\\x80", nullptr},           // ends inside a character
            {"\xc0\x9b|", "\\xc0\\x9b|", nullptr},         // U+001B in more bytes than it needs
            {"\xe0\x82\x9b", "\\xe0\\x82\\x9b", nullptr},  // U+009B likewise
            {"\xed\xa0\x80\xf4\x90\x80\x80\xff", "\\xed\\xa0\\x80\\xf4\\x90\\x80\\x80\\xff",
             nullptr},  // a surrogate, beyond Unicode, never a byte
    };
    for (const Case& c : cases) {
        EXPECT_EQ(EscapeControls(c.text), c.shown != nullptr ? c.shown : c.text);
        EXPECT_EQ(EscapeJson(c.text), c.json != nullptr ? c.json : c.text) << EscapeControls(c.text);
    }
}

}  // namespace
}  // namespace orvel
