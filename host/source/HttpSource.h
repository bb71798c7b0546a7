// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "source/BlockCache.h"
#include "source/HttpOptions.h"
#include "source/HttpRange.h"
#include "source/HttpTransfer.h"
#include "source/ReadAhead.h"
#include "source/ReportingSource.h"

namespace orvel {

// A file behind an http or https URL, read through range requests (RFC 9110, 14) and a block cache.
//
// What arrives is cut into blocks of kBlockSize, and the most recently used ones are kept: 128 with the
// default options, 8 MiB. A jump costs one request of one block, or of the blocks that the read spans;
// reading on from there doubles the request each time, up to kMaxRequestBlocks (1 MiB), so that a whole file
// costs about one request per MiB while a seek fetches little more than it reads.
//
// Every byte delivered lies where the server's Content-Range says, in a file whose size, strong ETag and
// Last-Modified are still those at opening. A dropped connection is taken up again at the first missing
// byte, as often as HttpOptions::retries allows. Anything else wrong is final.
//
// Failure or end? A demultiplexer takes a failed read for the end of its stream, so a caller asks
// lastError() once reading is over: empty means that all data were had, else it is the line to show.
//
// Every method may be called from any thread; they wait for a read under way on another.
class HttpSource : public ReportingSource {
  public:
    static constexpr size_t kBlockSize = 64u << 10;
    static constexpr size_t kMaxRequestBlocks = 16;
    static constexpr size_t kSmallestCache = 2u << 20;
    static constexpr size_t kLargestCache = 14u << 20;  // with the receiving buffer still under 16 MiB

    struct Statistics {
        uint64_t requests = 0;  // range requests made, new attempts included, hops of redirects not
        uint64_t bytes = 0;     // of the file's content received
    };

    // Connects, checks that the server serves ranges of a file of known size, and fetches the first block.
    // Null on failure; `*error` (not null) is then a line as lastError() gives it, or one without a URL when
    // `url` is none. Nothing is tried twice before a first good answer.
    static android::sp<HttpSource> Open(const std::string& url, std::string* error,
                                        const HttpOptions& options = HttpOptions());

    // OK: there are no sources that did not open.
    android::status_t initCheck() const override;

    // Delivers all of `size` bytes, or fewer only where the file ends, 0 at or after its end. BAD_VALUE for a
    // negative offset. ERROR_IO when the bytes could not be had; from then on each read returns ERROR_IO
    // at once, cached or not, so that a reader that goes on does not wait for one time-out after another.
    ssize_t readAt(off64_t offset, void* data, size_t size) override;

    // The size that the server told at opening. Always OK.
    android::status_t getSize(off64_t* size) override;

    // kIsCachingDataSource and kIsHTTPBasedSource.
    uint32_t flags() override;

    // "HttpSource(" URL without credentials ")".
    android::String8 toString() override;

    // The first failure in one line: the URL without credentials, the byte offset, what happened and what was
    // expected. Empty as long as there was none.
    std::string lastError() const override;

    Statistics statistics() const;

  private:
    HttpSource(const std::string& url, const std::string& shownUrl, const HttpOptions& options);

    bool openFile();
    int64_t fileSize() const { return file_->size; }
    const BlockCache::Block* blockAt(int64_t position, size_t wanted);
    size_t missingBlocks(int64_t block) const;
    bool fetchBlocks(int64_t block, size_t count);
    bool receive(int64_t first, int64_t last);
    bool fail(int64_t offset, const std::string& reason);

    const std::string shownUrl_;
    const HttpOptions options_;

    mutable std::mutex mutex_;  // guards everything below
    HttpTransfer transfer_;
    std::optional<FileIdentity> file_;  // set once open
    BlockCache cache_;
    ReadAhead readAhead_;
    std::vector<uint8_t> receiving_;  // the answer under way
    Statistics statistics_;
    std::string lastError_;
};

}  // namespace orvel
