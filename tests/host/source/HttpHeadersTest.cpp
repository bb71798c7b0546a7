// SPDX-License-Identifier: Apache-2.0
#include "source/HttpHeaders.h"

#include <gtest/gtest.h>

using orvel::HttpHeaders;

TEST(HttpHeadersTest, ReadsContentRangeAndStatusLine) {
    const auto range = orvel::ParseContentRange(" Bytes 12-345/9223372036854775807\r\n");
    ASSERT_TRUE(range);
    EXPECT_TRUE(range->first == 12 && range->last == 345 && range->total == INT64_MAX);
    EXPECT_EQ(orvel::ParseContentRange("bytes */7")->first, -1);
    EXPECT_EQ(orvel::ParseContentRange("bytes 3-4/*")->total, -1);
    for (const char* bad : {"", "bytes 1-2", "bytes 2-1/9", "bytes 1-9/9", "bytes -1-2/9", "bytes */*",
                            "bytes 1-2/9x", "bytes 1-/9", "chars 1-2/9", "bytes 0-1/9223372036854775808"}) {
        EXPECT_FALSE(orvel::ParseContentRange(bad)) << bad;
    }
    EXPECT_EQ(orvel::ParseStatusLine("HTTP/2 206\r\n"), 206);
    for (const char* bad : {"HTTP/1.1", "HTTP/1.1 20", "HTTP/1.1 2000", "HTTP/1.1 099", "ICY 200 OK"}) {
        EXPECT_FALSE(orvel::ParseStatusLine(bad)) << bad;
    }
}

TEST(HttpHeadersTest, KeepsTheLatestAnswerAndRefusesDamagedOrEndlessOnes) {
    HttpHeaders headers;
    for (const char* line : {"HTTP/1.1 302 Found\r\n", "ETag: \"old\"\r\n", "\r\n", "HTTP/1.1 206 OK\r\n",
                             "eTAG:  W/\"weak\"\r\n", "content-length: 42\r\n", "\r\n", "Content-Range: x"}) {
        EXPECT_TRUE(headers.add(line)) << line;  // the last one is a trailer
    }
    EXPECT_EQ(headers.answer().status, 206);
    EXPECT_EQ(headers.answer().etag, "");
    EXPECT_EQ(headers.answer().length, 42);
    for (const char* bad : {"no colon", ": no name", " folded: line", "Content-Length: -1"}) {
        HttpHeaders damaged;
        EXPECT_TRUE(damaged.add("HTTP/1.1 206 OK"));
        EXPECT_FALSE(damaged.add(bad)) << bad;
    }
    size_t answers = 0;
    for (HttpHeaders endless; endless.add("HTTP/1.1 100 Continue\r\n") && endless.add("\r\n");) {
        ASSERT_LT(++answers, HttpHeaders::kMaxTotal / 20);
    }
}
