// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include <log/log.h>

// Conditions that hold unless the program itself is wrong. When one does not, the process ends by abort()
// after a fatal log line such as
//     source.cpp:12 CHECK_LE( offset,size) failed: 9 vs. 8
// under the including file's LOG_TAG. Active in every build. Arguments are evaluated once.

#define CHECK(condition) \
    LOG_ALWAYS_FATAL_IF(!(condition), "%s:%d CHECK(%s) failed.", __FILE__, __LINE__, #condition)

// Of two arithmetic values, whose signedness should agree.
#define CHECK_EQ(x, y) ORVEL_CHECK_OP(x, y, EQ, ==)
#define CHECK_LT(x, y) ORVEL_CHECK_OP(x, y, LT, <)
#define CHECK_LE(x, y) ORVEL_CHECK_OP(x, y, LE, <=)
#define CHECK_GT(x, y) ORVEL_CHECK_OP(x, y, GT, >)
#define CHECK_GE(x, y) ORVEL_CHECK_OP(x, y, GE, >=)

// A place that is never reached.
#define TRESPASS() LOG_ALWAYS_FATAL("%s:%d Should not be here.", __FILE__, __LINE__)

#define ORVEL_CHECK_OP(x, y, suffix, op)                                                                  \
    do {                                                                                                  \
        const auto checkedX = (x);                                                                        \
        const auto checkedY = (y);                                                                        \
        LOG_ALWAYS_FATAL_IF(!(checkedX op checkedY), "%s:%d CHECK_" #suffix "( %s,%s) failed: %s vs. %s", \
                            __FILE__, __LINE__, #x, #y, std::to_string(checkedX).c_str(),                 \
                            std::to_string(checkedY).c_str());                                            \
    } while (false)
