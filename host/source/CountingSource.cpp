// SPDX-License-Identifier: Apache-2.0
#include "source/CountingSource.h"

namespace orvel {

CountingSource::CountingSource(const android::sp<android::DataSource>& source) : mSource(source) {}

CountingSource::~CountingSource() = default;

android::status_t CountingSource::initCheck() const {
    return mSource->initCheck();
}

ssize_t CountingSource::readAt(off64_t offset, void* data, size_t size) {
    if (mFirstOffset < 0) mFirstOffset = offset;
    ssize_t n = mSource->readAt(offset, data, size);
    ++mCount.calls;
    if (n > 0) mCount.bytes += n;
    if (n < 0 && offset >= 0) mHasFailed = true;
    if (mObserver) mObserver();
    return n;
}

android::status_t CountingSource::getSize(off64_t* size) {
    return mSource->getSize(size);
}

uint32_t CountingSource::flags() {
    return mSource->flags();
}

android::String8 CountingSource::toString() {
    return mSource->toString();
}

}  // namespace orvel
