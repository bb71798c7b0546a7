// SPDX-License-Identifier: Apache-2.0
#include "source/HttpTransfer.h"

#include <cstdlib>
#include <cstring>

#include "source/HttpUrl.h"

namespace orvel {
namespace {

constexpr long kReceiveBuffer = 128l << 10;  // bytes per read of the socket

bool StartCurl() {
    static const bool started = curl_global_init(CURL_GLOBAL_DEFAULT) == CURLE_OK;
    return started;
}

bool IsHttps(const std::string& url) {
    constexpr size_t kLength = sizeof("https:") - 1;
    return curl_strnequal(url.c_str(), "https:", kLength) != 0;
}

std::string Seconds(std::chrono::seconds time) {
    return std::to_string(time.count()) + " s";
}

// Ends that a new connection may cure. A time-out is not among them: the user has waited long enough.
bool IsDropped(CURLcode code) {
    switch (code) {
        case CURLE_OK:
        case CURLE_COULDNT_CONNECT:
        case CURLE_GOT_NOTHING:
        case CURLE_PARTIAL_FILE:
        case CURLE_RECV_ERROR:
        case CURLE_SEND_ERROR:
        case CURLE_HTTP2:
        case CURLE_HTTP2_STREAM:
            return true;
        default:
            return false;
    }
}

// What the library makes of a header line that goes on for 100 KB: that memory is short, or, from version 8.6
// on, its code 100, CURLE_TOO_LARGE.
bool IsTooLong(CURLcode code) {
    constexpr int kTooLarge = 100;
    return code == CURLE_OUT_OF_MEMORY || static_cast<int>(code) == kTooLarge;
}

}  // namespace

HttpTransfer::HttpTransfer(const std::string& url, const HttpOptions& options)
    : options_(options),
      curl_(StartCurl() ? curl_easy_init() : nullptr, &curl_easy_cleanup),
      requestHeaders_(curl_slist_append(nullptr, "Accept-Encoding: identity"), &curl_slist_free_all),
      stall_(options.stallTimeout) {
    if (curl_ && requestHeaders_) {
        configure(url);
    } else {
        configured_ = CURLE_FAILED_INIT;
    }
}

template <typename Value>
void HttpTransfer::set(CURLoption option, Value value) {
    if (configured_ == CURLE_OK) configured_ = curl_easy_setopt(curl_.get(), option, value);
}

void HttpTransfer::configure(const std::string& url) {
    set(CURLOPT_URL, url.c_str());
    set(CURLOPT_PROTOCOLS_STR, "http,https");
    set(CURLOPT_REDIR_PROTOCOLS_STR, IsHttps(url) ? "https" : "http,https");
    set(CURLOPT_FOLLOWLOCATION, 1L);
    set(CURLOPT_MAXREDIRS, static_cast<long>(options_.redirects));
    set(CURLOPT_CONNECTTIMEOUT, static_cast<long>(options_.connectTimeout.count()));
    const char* const bundle = std::getenv("CURL_CA_BUNDLE");
    if (bundle != nullptr) set(CURLOPT_CAINFO, bundle);
    set(CURLOPT_NOSIGNAL, 1L);
    set(CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L);
    set(CURLOPT_BUFFERSIZE, kReceiveBuffer);
    set(CURLOPT_USERAGENT, "orvel-flv");
    set(CURLOPT_HTTPHEADER, requestHeaders_.get());
    set(CURLOPT_ERRORBUFFER, errorText_.data());
    set(CURLOPT_PREREQFUNCTION, &HttpTransfer::OnRequest);
    set(CURLOPT_PREREQDATA, this);
    set(CURLOPT_NOPROGRESS, 0L);
    set(CURLOPT_XFERINFOFUNCTION, &HttpTransfer::OnProgress);
    set(CURLOPT_XFERINFODATA, this);
    set(CURLOPT_HEADERFUNCTION, &HttpTransfer::OnHeader);
    set(CURLOPT_HEADERDATA, this);
    set(CURLOPT_WRITEFUNCTION, &HttpTransfer::OnBody);
    set(CURLOPT_WRITEDATA, this);
}

TransferResult HttpTransfer::fetch(const RangeRequest& request, uint8_t* buffer) {
    stall_.stop();
    headers_ = HttpHeaders();
    request_ = request;
    buffer_ = buffer;
    accepted_ = false;
    expected_ = 0;
    received_ = 0;
    fault_.clear();
    errorText_.front() = '\0';

    const std::string range = std::to_string(request.first) + "-" + std::to_string(request.last);
    set(CURLOPT_RANGE, range.c_str());
    const CURLcode code = configured_ == CURLE_OK ? curl_easy_perform(curl_.get()) : configured_;
    // An answer without a body reached no callback that would have judged it.
    if (code == CURLE_OK && !accepted_) judgeAnswer();
    return resultOf(code);
}

// A connection stands and a request, perhaps a redirected one, goes out on it.
int HttpTransfer::OnRequest(void* self, char*, char*, int, int) noexcept {
    static_cast<HttpTransfer*>(self)->stall_.start();
    return CURL_PREREQFUNC_OK;
}

// Called about once a second, whether data come or not. Anything but 0 as the result ends the transfer.
int HttpTransfer::OnProgress(void* self, curl_off_t, curl_off_t, curl_off_t, curl_off_t) noexcept {
    auto* const transfer = static_cast<HttpTransfer*>(self);
    if (!transfer->stall_.stalled()) return 0;
    transfer->fault_ = "the server stalled for " + Seconds(transfer->options_.stallTimeout);
    return 1;
}

size_t HttpTransfer::OnHeader(char* data, size_t size, size_t count, void* self) noexcept {
    auto* const transfer = static_cast<HttpTransfer*>(self);
    transfer->stall_.arrived(size * count);
    if (transfer->headers_.add({data, size * count})) return size * count;
    transfer->fault_ = "the server sent " + transfer->headers_.fault();
    return 0;
}

size_t HttpTransfer::OnBody(char* data, size_t size, size_t count, void* self) noexcept {
    return static_cast<HttpTransfer*>(self)->takeBody(data, size * count);
}

bool HttpTransfer::judgeAnswer() {
    const HttpAnswer& answer = headers_.answer();
    fault_ = RangeAnswerFault(request_, answer);
    if (!fault_.empty()) return false;
    expected_ = static_cast<size_t>(RangeAnswerLength(request_, answer));
    accepted_ = true;
    return true;
}

// Anything but `size` as the result ends the transfer: bodies of refused answers are not downloaded.
size_t HttpTransfer::takeBody(const char* data, size_t size) {
    if (!accepted_ && !judgeAnswer()) return 0;
    if (size > expected_ - received_) {
        fault_ = "the server sent more than the " + std::to_string(expected_) + " bytes that were expected";
        return 0;
    }
    std::memcpy(buffer_ + received_, data, size);
    received_ += size;
    stall_.arrived(size);
    return size;
}

TransferResult HttpTransfer::resultOf(CURLcode code) {
    TransferResult result;
    result.accepted = accepted_;
    result.received = received_;
    result.answer = headers_.answer();
    if (!fault_.empty()) {
        result.reason = fault_;
    } else if (accepted_ && received_ == expected_) {
        result.end = TransferResult::End::kComplete;
    } else if (code == CURLE_OPERATION_TIMEDOUT) {
        result.reason = "no connection within " + Seconds(options_.connectTimeout);
    } else if (IsTooLong(code) && !headers_.answer().complete) {
        result.reason = "the server sent " + HttpHeaders::TooLongLine();
    } else if (code == CURLE_UNSUPPORTED_PROTOCOL) {
        result.reason = "the server redirects to a protocol that is not followed from here";
    } else {
        result.end = IsDropped(code) ? TransferResult::End::kDropped : TransferResult::End::kFailed;
        const char* const text = errorText_.front() != '\0' ? errorText_.data() : curl_easy_strerror(code);
        result.reason = code == CURLE_OK ? "the server ended its answer too early" : Printable(text);
    }
    return result;
}

}  // namespace orvel
