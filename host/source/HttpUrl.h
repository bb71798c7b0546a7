// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace orvel {

// Checks that `url` is a complete http or https URL. On success `*shown` is its form for messages: without
// user name, password and fragment, and with "?..." for a query, since signed addresses carry their secret
// there. On failure `*error` is one line that repeats nothing of the URL. Neither pointer may be null.
bool CheckHttpUrl(const std::string& url, std::string* shown, std::string* error);

// `text` with everything but printable ASCII replaced by '?', cut to 200 characters: for words in a message
// that a server may have chosen.
std::string Printable(const std::string& text);

}  // namespace orvel
