// SPDX-License-Identifier: Apache-2.0
#include "source/HttpUrl.h"

#include <curl/curl.h>

#include <algorithm>
#include <memory>

namespace orvel {
namespace {

using UrlHandle = std::unique_ptr<CURLU, decltype(&curl_url_cleanup)>;

// The part's text; empty when the URL has none.
std::string Part(CURLU* url, CURLUPart part) {
    char* text = nullptr;
    if (curl_url_get(url, part, &text, 0) != CURLUE_OK) return std::string();
    std::string copy(text);
    curl_free(text);
    return copy;
}

}  // namespace

bool CheckHttpUrl(const std::string& url, std::string* shown, std::string* error) {
    const UrlHandle handle(curl_url(), &curl_url_cleanup);
    // A zero byte would hide the rest of the text from every C interface behind.
    const bool parsed = url.find('\0') == std::string::npos && handle &&
                        curl_url_set(handle.get(), CURLUPART_URL, url.c_str(), 0) == CURLUE_OK;
    const std::string scheme = parsed ? Part(handle.get(), CURLUPART_SCHEME) : std::string();
    if (scheme != "http" && scheme != "https") {
        *error = "not a complete http or https URL";
        return false;
    }
    const bool query = !Part(handle.get(), CURLUPART_QUERY).empty();
    for (CURLUPart part : {CURLUPART_USER, CURLUPART_PASSWORD, CURLUPART_QUERY, CURLUPART_FRAGMENT}) {
        curl_url_set(handle.get(), part, nullptr, 0);
    }
    *shown = Printable(Part(handle.get(), CURLUPART_URL)) + (query ? "?..." : "");
    return true;
}

std::string Printable(const std::string& text) {
    std::string line = text.substr(0, 200);
    std::replace_if(
            line.begin(), line.end(), [](char c) { return c < ' ' || c > '~'; }, '?');
    return line;
}

}  // namespace orvel
