// SPDX-License-Identifier: Apache-2.0
#include <utils/CallStack.h>

#include <gmock/gmock.h>

#include "platform/CapturedLog.h"

namespace call_stack_test {

using testing::ContainsRegex;

// Not to be inlined; the empty statement keeps the call from becoming a jump, which leaves no frame.
__attribute__((noinline)) void inner(android::CallStack& stack, int32_t ignoreDepth, pid_t tid) {
    stack.update(ignoreDepth, tid);
    asm volatile("");
}

TEST(CallStack, ShowsDemangledFramesFromInnermost) {
    android::CallStack stack;
    inner(stack, 0, -1);
    const size_t all = stack.size();
    const CapturedLog log;
    stack.log("st", ANDROID_LOG_INFO, "> ");
    ASSERT_TRUE(log.lines.size() == all && all >= 2);
    EXPECT_THAT(log.lines[0], ContainsRegex("^4/st: > #00 pc [0-9a-f]{16}  platform_tests "
                                            "\\(call_stack_test::inner\\(android::.*, int\\)\\+[0-9]+\\)$"));
    EXPECT_THAT(log.lines[1], ContainsRegex("> #01 pc .*Innermost_Test::TestBody\\(\\)\\+"));
    inner(stack, 1, -1);
    EXPECT_EQ(all - 1, stack.size());
    EXPECT_THAT(stack.toString("p ").string(), ContainsRegex("^p #00 pc .*TestBody\\(\\).*\np #01 pc "));
    inner(stack, 0, 1);  // another thread
    EXPECT_EQ(0u, stack.size());
}

}  // namespace call_stack_test
