// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "source/HttpHeaders.h"

namespace orvel {

// What the first good answer told of the file. Every later answer has to tell the same.
struct FileIdentity {
    int64_t size = 0;          // bytes
    std::string etag;          // a strong entity tag, or empty
    std::string lastModified;  // or empty
};

// A request for the bytes first..last, both inclusive, 0 <= first <= last.
struct RangeRequest {
    int64_t first = 0;
    int64_t last = 0;                   // the answer ends here or at the end of the file
    std::optional<FileIdentity> known;  // nothing yet for the request that opens the file
};

// Why the answer's body must not be taken as the bytes asked for: a clause for the user such as "the file
// changed: ...", free of text that the server chose. Empty when the body may be used: then it is exactly
// RangeAnswerLength bytes.
std::string RangeAnswerFault(const RangeRequest& request, const HttpAnswer& answer);

// Bytes of the body of an answer without fault: as many as were asked for, fewer only where the file ends
// earlier in the request that opens it, 0 for an empty file.
int64_t RangeAnswerLength(const RangeRequest& request, const HttpAnswer& answer);

// The identity that an answer without fault tells.
FileIdentity IdentityOf(const RangeRequest& request, const HttpAnswer& answer);

}  // namespace orvel
