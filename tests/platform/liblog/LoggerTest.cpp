// SPDX-License-Identifier: Apache-2.0
#include <errno.h>

#include <gmock/gmock.h>

#include "platform/CapturedLog.h"

using testing::ElementsAre;

TEST(Logger, FiltersBelowTheMinimumPriority) {
    const CapturedLog log;
    EXPECT_EQ(ANDROID_LOG_DEFAULT, __android_log_set_minimum_priority(ANDROID_LOG_WARN));
    errno = ENXIO;
    EXPECT_EQ(-EPERM, __android_log_write(ANDROID_LOG_INFO, "a", "dropped"));
    EXPECT_EQ(1, __android_log_print(ANDROID_LOG_WARN, "b", "%d-%s", 7, "kept"));
    EXPECT_EQ(ENXIO, errno);
    EXPECT_EQ(ANDROID_LOG_WARN, __android_log_set_minimum_priority(ANDROID_LOG_DEFAULT));
    EXPECT_EQ(1, __android_log_print(ANDROID_LOG_VERBOSE, nullptr, "no tag"));
    EXPECT_THAT(log.lines, ElementsAre("5/b: 7-kept", "2/: no tag"));
}

TEST(Logger, LongTextsArriveWhole) {
    for (const size_t length : {1022u, 1023u, 1024u, 4095u, 20000u}) {
        const CapturedLog log;
        const std::string text(length, 'x');
        __android_log_print(ANDROID_LOG_INFO, "t", "%s|", text.c_str());
        EXPECT_THAT(log.lines, ElementsAre("4/t: " + text + "|"));
    }
}

TEST(Logger, DefaultLoggerWritesBriefLinesToStderr) {
    { const CapturedLog replacedAndRestored; }
    testing::internal::CaptureStderr();
    __android_log_print(ANDROID_LOG_DEBUG, "Tag", "message %d", 3);
    __android_log_write(ANDROID_LOG_ERROR, "Other", "100%s");
    EXPECT_EQ("D/Tag: message 3\nE/Other: 100%s\n", testing::internal::GetCapturedStderr());
}

TEST(LoggerDeathTest, AssertIsLoggedEvenWhenFiltered) {
    __android_log_set_minimum_priority(ANDROID_LOG_SILENT);
    EXPECT_DEATH(__android_log_assert("c", "T", "code %d", 5), "F/T: code 5");
    EXPECT_DEATH(__android_log_assert("a > b", "T", nullptr), "F/T: Assertion failed: a > b");
    __android_log_set_minimum_priority(ANDROID_LOG_DEFAULT);
}
