// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstddef>

namespace orvel {

// How long and how often an HttpSource tries. The defaults suit a person waiting at a terminal.
struct HttpOptions {
    // Name look-up, connection and TLS handshake together, for each connection made.
    std::chrono::seconds connectTimeout{10};

    // A request that brings less than StallWatch::kLeastBytes in so long is given up, give or take a second.
    // It is not tried again: one stall costs the user this time once.
    std::chrono::seconds stallTimeout{15};

    // New attempts after a dropped connection that brought nothing worth counting. An attempt that makes
    // progress starts the count afresh.
    int retries = 3;

    // Pause before the first new attempt; doubled before each further one.
    std::chrono::milliseconds retryDelay{200};

    // Redirects followed for one request.
    int redirects = 5;

    // Memory for blocks already fetched; brought into HttpSource::kSmallestCache .. kLargestCache.
    size_t cacheBytes = 8u << 20;
};

}  // namespace orvel
