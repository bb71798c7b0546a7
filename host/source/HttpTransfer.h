// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <curl/curl.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "source/HttpHeaders.h"
#include "source/HttpOptions.h"
#include "source/HttpRange.h"
#include "source/StallWatch.h"

namespace orvel {

// How one range request ended.
struct TransferResult {
    enum class End {
        kComplete,  // the whole answer is in the buffer
        kDropped,   // the connection could not be made or broke; a new attempt may help
        kFailed,    // refused, stalled or wrong; a new attempt would not help
    };

    End end = End::kFailed;
    bool accepted = false;  // the answer's headers were as they should be
    size_t received = 0;    // leading bytes of the answer in the buffer; 0 unless accepted
    std::string reason;     // a clause for the user, one line; empty when complete
    HttpAnswer answer;
};

// One HTTP client connection that makes range requests, one at a time, and hands out no byte whose place in
// the file the server has not confirmed. Connections are kept open between requests. Redirects are followed
// to http and https only, and never from https down to http; each request starts again from the original
// URL, so that a redirect that expires is renewed. Credentials of the URL go to its own host, port and scheme
// alone. Proxies are taken from the environment (http_proxy, https_proxy, no_proxy), and servers'
// certificates are checked against the system's or those in the file that CURL_CA_BUNDLE names. Not
// thread-safe.
class HttpTransfer {
  public:
    // `url` has passed CheckHttpUrl.
    HttpTransfer(const std::string& url, const HttpOptions& options);
    HttpTransfer(const HttpTransfer&) = delete;
    HttpTransfer& operator=(const HttpTransfer&) = delete;

    // Makes one request. `buffer` has room for the bytes first..last; what lies beyond
    // TransferResult::received in it is unspecified afterwards.
    TransferResult fetch(const RangeRequest& request, uint8_t* buffer);

  private:
    static int OnRequest(void* self, char* peer, char* local, int peerPort, int localPort) noexcept;
    static int OnProgress(void* self, curl_off_t, curl_off_t, curl_off_t, curl_off_t) noexcept;
    static size_t OnHeader(char* data, size_t size, size_t count, void* self) noexcept;
    static size_t OnBody(char* data, size_t size, size_t count, void* self) noexcept;

    template <typename Value>
    void set(CURLoption option, Value value);
    void configure(const std::string& url);
    bool judgeAnswer();
    size_t takeBody(const char* data, size_t size);
    TransferResult resultOf(CURLcode code);

    HttpOptions options_;
    std::unique_ptr<CURL, decltype(&curl_easy_cleanup)> curl_;
    std::unique_ptr<curl_slist, decltype(&curl_slist_free_all)> requestHeaders_;
    CURLcode configured_ = CURLE_OK;
    std::array<char, CURL_ERROR_SIZE> errorText_{};

    // Of the request under way.
    StallWatch stall_;
    HttpHeaders headers_;
    RangeRequest request_;
    uint8_t* buffer_ = nullptr;
    bool accepted_ = false;
    size_t expected_ = 0;
    size_t received_ = 0;
    std::string fault_;
};

}  // namespace orvel
