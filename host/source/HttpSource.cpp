// SPDX-License-Identifier: Apache-2.0
#include "source/HttpSource.h"

#include <media/stagefright/MediaErrors.h>

#include <algorithm>
#include <cstring>
#include <thread>

#include "source/HttpUrl.h"

namespace orvel {
namespace {

constexpr int64_t kBlock = static_cast<int64_t>(HttpSource::kBlockSize);

// A connection that brought less counts as a failed attempt, or a server that sends one byte and hangs up
// could keep a reader busy for as long as the file has bytes.
constexpr size_t kProgress = 4096;

// Of the pause between attempts, where the options ask for many.
constexpr int kMostDoublings = 6;

size_t CacheBlocks(size_t bytes) {
    return std::clamp(bytes, HttpSource::kSmallestCache, HttpSource::kLargestCache) / HttpSource::kBlockSize;
}

}  // namespace

HttpSource::HttpSource(const std::string& url, const std::string& shownUrl, const HttpOptions& options)
    : shownUrl_(shownUrl),
      options_(options),
      transfer_(url, options),
      cache_(CacheBlocks(options.cacheBytes)),
      readAhead_(kMaxRequestBlocks),
      receiving_(kMaxRequestBlocks * kBlockSize) {}

android::sp<HttpSource> HttpSource::Open(const std::string& url, std::string* error,
                                         const HttpOptions& options) {
    std::string shown;
    if (!CheckHttpUrl(url, &shown, error)) return nullptr;
    android::sp<HttpSource> source = new HttpSource(url, shown, options);
    if (source->openFile()) return source;
    *error = source->lastError();
    return nullptr;
}

bool HttpSource::openFile() {
    const std::lock_guard<std::mutex> lock(mutex_);
    return fetchBlocks(0, readAhead_.plan(0, 1, 1));
}

android::status_t HttpSource::initCheck() const {
    return android::OK;
}

ssize_t HttpSource::readAt(off64_t offset, void* data, size_t size) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (offset < 0) return android::BAD_VALUE;
    if (!lastError_.empty()) return android::ERROR_IO;
    if (offset >= fileSize()) return 0;
    size = static_cast<size_t>(std::min<uint64_t>(size, static_cast<uint64_t>(fileSize() - offset)));

    auto* const out = static_cast<uint8_t*>(data);
    size_t done = 0;
    while (done < size) {
        const int64_t position = offset + static_cast<int64_t>(done);
        const BlockCache::Block* const block = blockAt(position, size - done);
        if (block == nullptr) return android::ERROR_IO;
        const auto start = static_cast<size_t>(position % kBlock);
        const size_t count = std::min(block->size() - start, size - done);
        std::memcpy(out + done, block->data() + start, count);
        done += count;
    }
    return static_cast<ssize_t>(size);
}

android::status_t HttpSource::getSize(off64_t* size) {
    const std::lock_guard<std::mutex> lock(mutex_);
    *size = fileSize();
    return android::OK;
}

uint32_t HttpSource::flags() {
    return kIsCachingDataSource | kIsHTTPBasedSource;
}

android::String8 HttpSource::toString() {
    return android::String8(("HttpSource(" + shownUrl_ + ")").c_str());
}

std::string HttpSource::lastError() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return lastError_;
}

HttpSource::Statistics HttpSource::statistics() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return statistics_;
}

// The block that holds `position`, fetched where need be; null after a failure. `wanted` bytes from
// `position` on are about to be read.
const BlockCache::Block* HttpSource::blockAt(int64_t position, size_t wanted) {
    const int64_t block = position / kBlock;
    if (const BlockCache::Block* const held = cache_.find(block)) return held;
    const size_t needed = (static_cast<size_t>(position % kBlock) + wanted - 1) / kBlockSize + 1;
    if (!fetchBlocks(block, readAhead_.plan(block, needed, missingBlocks(block)))) return nullptr;
    return cache_.find(block);
}

// How many blocks from `block` on are neither held nor beyond the end, as far as one request reaches.
size_t HttpSource::missingBlocks(int64_t block) const {
    const int64_t lastBlock = (fileSize() - 1) / kBlock;
    size_t count = 1;
    while (count < kMaxRequestBlocks) {
        const int64_t next = block + static_cast<int64_t>(count);
        if (next > lastBlock || cache_.contains(next)) break;
        ++count;
    }
    return count;
}

bool HttpSource::fetchBlocks(int64_t block, size_t count) {
    const int64_t first = block * kBlock;
    const auto wanted = static_cast<int64_t>(count * kBlockSize);
    const int64_t last = file_ ? std::min(wanted, fileSize() - first) + first - 1 : first + wanted - 1;
    if (!receive(first, last)) return false;

    const auto received = static_cast<size_t>(std::min(last + 1, fileSize()) - first);
    for (size_t start = 0; start < received; start += kBlockSize) {
        cache_.insert(block++, receiving_.data() + start, std::min(kBlockSize, received - start));
    }
    return true;
}

// Brings the bytes first..last into receiving_, over as many connections as it takes.
bool HttpSource::receive(int64_t first, int64_t last) {
    size_t received = 0;
    int failures = 0;
    for (;;) {
        const int64_t position = first + static_cast<int64_t>(received);
        const TransferResult result = transfer_.fetch({position, last, file_}, receiving_.data() + received);
        ++statistics_.requests;
        statistics_.bytes += result.received;
        received += result.received;
        if (result.accepted && !file_) file_ = IdentityOf({position, last, file_}, result.answer);
        if (result.end == TransferResult::End::kComplete) return true;

        const bool retry = result.end == TransferResult::End::kDropped && file_;
        if (result.received >= kProgress) failures = 0;
        if (!retry || failures >= options_.retries) {
            return fail(first + static_cast<int64_t>(received), result.reason);
        }
        std::this_thread::sleep_for(options_.retryDelay * (1 << std::min(failures++, kMostDoublings)));
    }
}

bool HttpSource::fail(int64_t offset, const std::string& reason) {
    lastError_ = shownUrl_ + ": at byte " + std::to_string(offset) + ": " + reason;
    return false;
}

}  // namespace orvel
