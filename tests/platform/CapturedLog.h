// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android/log.h>

#include <string>
#include <vector>

// While it lives, this thread's log messages end up in lines as "priority/tag: text". One at a time.
struct CapturedLog {
    CapturedLog() {
        lines.clear();
        __android_log_set_logger([](const __android_log_message* m) {
            lines.push_back(std::to_string(m->priority) + "/" + m->tag + ": " + m->message);
        });
    }
    ~CapturedLog() { __android_log_set_logger(nullptr); }

    static inline std::vector<std::string> lines;
};
