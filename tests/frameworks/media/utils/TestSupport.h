// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android/log.h>
#include <gmock/gmock.h>
#include <stdint.h>

#include <iterator>
#include <sstream>
#include <string>
#include <vector>

using Bytes = std::vector<uint8_t>;
using Lines = std::vector<std::string>;

// The bytes that a text such as "42 01 0C" spells.
inline Bytes hex(const char* text) {
    std::istringstream in(text);
    in >> std::hex;
    return Bytes(std::istream_iterator<unsigned>(in), {});
}

inline Bytes operator+(Bytes left, const Bytes& right) {
    return left.insert(left.end(), right.begin(), right.end()), left;
}

// The lines as LogCapture gives them when all of them begin alike.
inline Lines each(const std::string& prefix, Lines lines) {
    for (std::string& line : lines)
        line.insert(0, prefix);
    return lines;
}

// Collects what is logged during its life, as "I/Tag: message", instead of printing it.
class LogCapture {
  public:
    LogCapture() {
        sLines.clear();
        __android_log_set_logger([](const __android_log_message* m) {
            sLines.push_back(std::string(1, "??VDIWEF"[m->priority]) + "/" + m->tag + ": " + m->message);
        });
    }
    ~LogCapture() { __android_log_set_logger(nullptr); }
    const Lines& lines() const { return sLines; }

  private:
    static inline Lines sLines;
};
