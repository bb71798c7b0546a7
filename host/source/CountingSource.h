// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <media/stagefright/DataSource.h>

#include <functional>
#include <utility>

namespace orvel {

// What reading has cost so far.
struct ReadCount {
    int64_t calls = 0;
    int64_t bytes = 0;  // delivered
};

// Another source, with its reads counted and its failures remembered. Everything else passes through, so the
// plug-in behaves as it would on that source. Used from one thread at a time.
class CountingSource : public android::DataSource {
  public:
    explicit CountingSource(const android::sp<android::DataSource>& source);

    android::status_t initCheck() const override;
    ssize_t readAt(off64_t offset, void* data, size_t size) override;
    android::status_t getSize(off64_t* size) override;
    uint32_t flags() override;
    android::String8 toString() override;

    const android::sp<android::DataSource>& inner() const { return mSource; }
    const ReadCount& count() const { return mCount; }

    // Whether any read has failed, other than by an offset that no source has: the plug-in reports a failed
    // read as the end of the stream, so nobody else can tell.
    bool hasFailed() const { return mHasFailed; }

    // Called after every read, for progress while the plug-in is at work; empty: nothing is.
    void setObserver(std::function<void()> observer) { mObserver = std::move(observer); }

    // Offset of the first read after markReads(); -1 when there was none.
    void markReads() { mFirstOffset = -1; }
    off64_t firstOffset() const { return mFirstOffset; }

  protected:
    ~CountingSource() override;

  private:
    const android::sp<android::DataSource> mSource;
    ReadCount mCount;
    bool mHasFailed = false;
    off64_t mFirstOffset = -1;
    std::function<void()> mObserver;
};

}  // namespace orvel
