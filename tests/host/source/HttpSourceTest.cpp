// SPDX-License-Identifier: Apache-2.0
#include "source/HttpSource.h"

#include <gmock/gmock.h>
#include <media/stagefright/MediaErrors.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <functional>
#include <random>
#include <thread>

#include "NginxServer.h"

using android::ERROR_IO;
using orvel::HttpSource;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using namespace std::chrono_literals;
using Source = android::sp<HttpSource>;
using Clock = std::chrono::steady_clock;

namespace {

constexpr size_t kBlock = HttpSource::kBlockSize;

std::string Noise(size_t size) {
    std::mt19937_64 random(size);
    std::string bytes(size, '\0');
    for (char& byte : bytes)
        byte = static_cast<char>(random() >> 56);
    return bytes;
}

// Answers each request with exactly the bytes that a test wants, then closes the connection, or with
// `silent` keeps it open and says nothing more.
class ScriptedServer {
  public:
    using Script = std::function<std::string(int number, const std::string& request)>;

    explicit ScriptedServer(Script script, bool silent = false)
        : script_(std::move(script)), silent_(silent), listener_(ListenOnLoopback(&port_)) {
        thread_ = std::thread([this] { serve(); });
    }
    ~ScriptedServer() {
        shutdown(listener_, SHUT_RDWR);
        thread_.join();
        close(listener_);
    }
    std::string url() const { return "http://127.0.0.1:" + std::to_string(port_) + "/a.flv"; }

    std::atomic<int> requests{0};

  private:
    void serve() {
        std::vector<int> open;
        for (int peer; (peer = accept(listener_, nullptr, nullptr)) >= 0;) {
            std::string request;
            char byte = 0;
            while (request.find("\r\n\r\n") == std::string::npos && recv(peer, &byte, 1, 0) == 1)
                request += byte;
            const std::string answer = script_(requests++, request);
            send(peer, answer.data(), answer.size(), MSG_NOSIGNAL);
            if (silent_) open.push_back(peer);
            if (!silent_) close(peer);
        }
        for (int peer : open)
            close(peer);
    }

    const Script script_;
    const bool silent_;
    int port_ = 0;
    int listener_ = -1;
    std::thread thread_;
};

class HttpSourceTest : public testing::Test {
  protected:
    HttpSourceTest() {
        setenv("no_proxy", "127.0.0.1,localhost", 1);
        options_.stallTimeout = 1s;
        options_.retryDelay = 20ms;
    }
    Source open(const std::string& url) {
        std::string error;
        const Source source = HttpSource::Open(url, &error, options_);
        return source != nullptr ? source : throw std::runtime_error(error);
    }
    std::string openError(const std::string& url) {
        std::string error = "unset";
        return HttpSource::Open(url, &error, options_) == nullptr ? error : "opened";
    }

    orvel::HttpOptions options_;
};

bool ReadsAs(const Source& source, const std::string& file, size_t offset, size_t size) {
    std::string data(size, '\0');
    const ssize_t count = source->readAt(static_cast<off64_t>(offset), data.data(), size);
    const std::string expected = offset < file.size() ? file.substr(offset, size) : "";
    return count >= 0 && data.substr(0, static_cast<size_t>(count)) == expected;
}

ssize_t ReadResult(const Source& source, off64_t offset, size_t size = 1) {
    return source->readAt(offset, std::string(size, '\0').data(), size);
}

TEST_F(HttpSourceTest, RandomReadsFromTwoThreadsEqualTheFile) {
    const std::string file = Noise(5000123);
    const NginxServer nginx;
    nginx.put("a.flv", file);
    options_.cacheBytes = 0;  // the smallest there is, so that blocks come and go
    const Source source = open(nginx.url("/a.flv"));
    EXPECT_EQ(source->flags(), HttpSource::kIsCachingDataSource | HttpSource::kIsHTTPBasedSource);
    const auto readRandomly = [&](unsigned seed) {
        std::mt19937 random(seed);
        for (int i = 0; i < 150; ++i) {
            const size_t offset = random() % (file.size() + 5000);
            const size_t length = random() % (i % 10 == 0 ? 3000000 : 9000);
            ASSERT_TRUE(ReadsAs(source, file, offset, length)) << offset << " " << length;
        }
    };
    std::thread other(readRandomly, 1);
    readRandomly(2);
    other.join();
    EXPECT_EQ(ReadResult(source, 5000122, 2), 1);
    EXPECT_EQ(ReadResult(source, 5000123), 0);
    EXPECT_EQ(ReadResult(source, -1), android::BAD_VALUE);
    EXPECT_EQ(source->lastError(), "");
}

TEST_F(HttpSourceTest, FetchesEachByteOnceInFewRequestsAndLittleForASeek) {
    const std::string file = Noise(80 * kBlock + 123);
    const NginxServer nginx;
    nginx.put("a.flv", file);
    const Source sequential = open(nginx.url("/a.flv"));
    for (size_t at = 0; at < file.size(); at += 4096)
        ASSERT_TRUE(ReadsAs(sequential, file, at, 4096));
    EXPECT_EQ(sequential->statistics().requests, 9u);  // 1+2+4+8 blocks, 4 x 16, 2
    EXPECT_EQ(sequential->statistics().bytes, file.size());

    const Source seek = open(nginx.url("/a.flv"));
    ASSERT_TRUE(ReadsAs(seek, file, 40 * kBlock + 1000, 4096));
    ASSERT_TRUE(ReadsAs(seek, file, 40 * kBlock, 40000));
    EXPECT_EQ(seek->statistics().requests, 2u);
    EXPECT_EQ(seek->statistics().bytes, 2 * kBlock);

    const Source interleaved = open(nginx.url("/a.flv"));
    for (size_t at = 0; at < 40 * kBlock; at += 8192) {
        ASSERT_TRUE(ReadsAs(interleaved, file, at, 8192) &&
                    ReadsAs(interleaved, file, at + 40 * kBlock, 4096));
    }
    EXPECT_LE(interleaved->statistics().requests, 14u);
    EXPECT_LE(interleaved->statistics().bytes, file.size());
}

TEST(BlockCacheTest, LeastRecentlyUsedBlockMakesRoom) {
    orvel::BlockCache cache(2);
    const uint8_t bytes[] = {10, 11, 12};
    for (int64_t number : {0, 1, 0, 2}) {
        if (cache.find(number) == nullptr) cache.insert(number, &bytes[number], 1);
    }
    EXPECT_FALSE(cache.contains(1));
    EXPECT_EQ(cache.find(0)->front() + cache.find(2)->front(), 22);
}

TEST_F(HttpSourceTest, RefusesWhatItCannotReadByRanges) {
    const NginxServer nginx(R"(location /whole/ { alias docs/; max_ranges 0; }
        location /encoded/ { alias docs/; add_header Content-Encoding gzip; }
        location = /loop { return 302 /loop; }
        location = /local { return 302 file:///etc/passwd; })");
    nginx.put("a.flv", Noise(1000));
    const std::pair<const char*, const char*> cases[] = {
            {"/whole/a.flv", "/whole/a.flv: at byte 0: the server ignores byte ranges"},
            {"/encoded/a.flv", "encoded"},
            {"/none.flv?token=secret", "/none.flv?...: at byte 0: the server answered with status 404"},
            {"/loop", "Maximum (5) redirects"},
            {"/local", "redirects to a protocol that is not followed"},
    };
    for (const auto& [path, words] : cases)
        EXPECT_THAT(openError(nginx.url(path)), HasSubstr(words));
    for (const char* url : {"ftp://127.0.0.1/a.flv", "file:///a.flv", "a.flv", "http://", ""}) {
        EXPECT_THAT(openError(url), HasSubstr("not a complete http or https URL")) << url;
    }
}

TEST_F(HttpSourceTest, FollowsRedirectsAndBearsSlowServersAndEmptyFiles) {
    const std::string file = Noise(300000);
    const NginxServer nginx(R"(location /hop1/ { rewrite ^/hop1/(.*) /hop2/$1 redirect; }
        location /hop2/ { rewrite ^/hop2/(.*) /slow/$1 permanent; }
        location /slow/ { alias docs/; limit_rate 100k; })");
    nginx.put("a.flv", file);
    nginx.put("empty.flv", "");
    EXPECT_TRUE(ReadsAs(open(nginx.url("/hop1/a.flv")), file, 0, file.size() + 1));
    EXPECT_TRUE(ReadsAs(open(nginx.url("/empty.flv")), "", 0, 10));
}

TEST_F(HttpSourceTest, KeepsCredentialsFromOtherHostsAndFromMessages) {
    std::string requests[2];
    const ScriptedServer server([&](int number, const std::string& request) {
        requests[number] = request;
        if (number > 0) return std::string("HTTP/1.1 404 Not Found\r\nContent-Length: 0\r\n\r\n");
        return "HTTP/1.1 302 Found\r\nLocation: http://localhost" + server.url().substr(16) + "\r\n\r\n";
    });
    EXPECT_THAT(openError("http://user:secret@" + server.url().substr(7)),
                AllOf(HasSubstr(server.url() + ": at byte 0: "), Not(HasSubstr("secret"))));
    EXPECT_THAT(requests[0], HasSubstr("Authorization: Basic"));
    EXPECT_THAT(requests[1], AllOf(HasSubstr("Host: localhost"), Not(HasSubstr("Authorization"))));
}

TEST_F(HttpSourceTest, NoticesThatTheFileWasReplaced) {
    const NginxServer nginx;
    nginx.put("a.flv", Noise(300000));
    const Source source = open(nginx.url("/a.flv"));
    nginx.put("a.flv", Noise(300001));
    EXPECT_EQ(ReadResult(source, 100000), ERROR_IO);
    EXPECT_THAT(source->lastError(), HasSubstr("at byte 65536: the file changed: it had 300000 bytes"));
}

TEST_F(HttpSourceTest, FailsOnceAndSoonWhenTheServerIsKilled) {
    NginxServer nginx("limit_rate 100k;");
    nginx.put("a.flv", Noise(3000000));
    options_.stallTimeout = 3s;
    const Source source = open(nginx.url("/a.flv"));
    std::thread killer([&] {
        std::this_thread::sleep_for(300ms);
        nginx.kill();
    });
    const auto start = Clock::now();
    EXPECT_EQ(ReadResult(source, 70000, 1000000), ERROR_IO);
    EXPECT_LT(Clock::now() - start, 300ms + options_.stallTimeout);
    killer.join();
    const auto [requests, bytes] = source->statistics();
    EXPECT_GT(bytes, kBlock);  // it was in the middle of the answer
    const std::string error = source->lastError();
    EXPECT_THAT(error, AllOf(HasSubstr(nginx.url("/a.flv: at byte ")), Not(HasSubstr("\n"))));
    EXPECT_EQ(ReadResult(source, 0), ERROR_IO);
    EXPECT_EQ(source->statistics().requests, requests);  // and nothing was tried again
}

const std::string kFile = Noise(200000);

std::string Head(size_t first, size_t last, const std::string& more = "ETag: \"v1\"\r\n") {
    return "HTTP/1.1 206 Partial Content\r\nContent-Range: bytes " + std::to_string(first) + "-" +
           std::to_string(last) + "/200000\r\n" + more + "\r\n";
}

// The right answer to a request for a range of kFile, its body cut off after `limit` bytes.
std::string Good(const std::string& request, size_t limit = kBlock) {
    const std::string range = request.substr(request.find("Range: bytes=") + 13);
    const size_t first = std::stoul(range);
    const size_t last = std::min<size_t>(std::stoul(range.substr(range.find('-') + 1)), kFile.size() - 1);
    return Head(first, last) + kFile.substr(first, std::min(last - first + 1, limit));
}

TEST_F(HttpSourceTest, NeverTakesAnswersThatAreNotTheRangeAskedFor) {
    const std::string body = kFile.substr(kBlock, 2 * kBlock);
    const std::string etag = "ETag: \"v1\"\r\n";
    const std::pair<std::string, const char*> cases[] = {
            {Head(0, 131071) + body, "sent bytes 0-131071 where 65536-196607 were expected"},
            {Head(65536, 100000) + body, "sent bytes 65536-100000"},
            {Head(65536, 196607) + body + "x", "more than the 131072 bytes"},
            {Head(65536, 196607, "ETag: \"v2\"\r\n") + body, "the file changed: its ETag"},
            {Head(65536, 196607, etag + "Last-Modified: now\r\n") + body, "Last-Modified"},
            {Head(65536, 196607, etag + "Content-Length: 131073\r\n") + body + "x", "announced 131073"},
            {Head(65536, 196607, etag + "Content-Encoding: br\r\n") + body, "encoded"},
            {Head(65536, 196607, "X: " + std::string(9000, 'x') + "\r\n") + body, "line of over 8192 bytes"},
            {Head(65536, 196607, "X: " + std::string(300000, 'x') + "\r\n") + body,
             "line of over 8192 bytes"},
            {"HTTP/1.1 206 OK\r\nContent-Range: bytes 9-8/7\r\n\r\n" + body,
             "sent a Content-Range that is none"},
            {"HTTP/1.1 206 Partial Content\r\n\r\n" + body, "Content-Range was expected"},
            {"HTTP/1.1 206 OK\r\nContent-Range: bytes 65536-196607/*\r\n\r\n" + body, "size of the file"},
            {"HTTP/1.1 416 No\r\nContent-Range: bytes */100\r\nContent-Length: 0\r\n\r\n", "has 100 now"},
            {"HTTP/1.1 200 OK\r\nContent-Length: 200000\r\n\r\n" + kFile, "ignores byte ranges"},
    };
    for (const auto& [bytes, words] : cases) {
        const ScriptedServer server([&, &answer = bytes](int number, const std::string& request) {
            return number == 0 ? Good(request) : answer;
        });
        const Source source = open(server.url());
        EXPECT_EQ(ReadResult(source, 70000), ERROR_IO) << words;
        EXPECT_THAT(source->lastError(), HasSubstr(words));
        EXPECT_EQ(server.requests, 2) << words;
    }
}

TEST_F(HttpSourceTest, TakesUpDroppedConnectionsButNotForEver) {
    const ScriptedServer dropping([](int, const std::string& request) { return Good(request, 10000); });
    const Source patient = open(dropping.url());
    EXPECT_TRUE(ReadsAs(patient, kFile, 0, kFile.size()));
    EXPECT_EQ(patient->statistics().bytes, kFile.size());
    EXPECT_GE(dropping.requests, 20);

    const ScriptedServer useless(
            [](int number, const std::string& request) { return Good(request, number == 0 ? kBlock : 100); });
    const Source source = open(useless.url());
    EXPECT_EQ(ReadResult(source, 70000), ERROR_IO);
    EXPECT_EQ(useless.requests, 1 + 1 + options_.retries);
    EXPECT_THAT(source->lastError(), HasSubstr("at byte 65936: "));  // 65536 + 4 x 100
}

TEST_F(HttpSourceTest, GivesUpAStalledServerAfterOneTimeout) {
    const ScriptedServer dumb([](int, const std::string&) { return ""; }, true);
    const ScriptedServer tiring([](int, const std::string& request) { return Good(request, 50000); }, true);
    for (const auto& [server, words] : {std::pair(&dumb, "at byte 0: the server stalled for 1 s"),
                                        std::pair(&tiring, "at byte 50000: the server stalled for 1 s")}) {
        const auto start = Clock::now();
        EXPECT_THAT(openError(server->url()), HasSubstr(words));
        EXPECT_LT(Clock::now() - start, 2 * options_.stallTimeout + 500ms);  // looked at once a second
        EXPECT_EQ(server->requests, 1);
    }
}

}  // namespace
