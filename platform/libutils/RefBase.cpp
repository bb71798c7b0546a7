// SPDX-License-Identifier: Apache-2.0
#include <utils/RefBase.h>

#define LOG_TAG "RefBase"
#include <log/log.h>

namespace android {

RefBase::RefBase() : mStrong(0) {}

RefBase::~RefBase() = default;

void RefBase::onFirstRef() {}

void RefBase::lastReferenceGone(int32_t previous) const {
    LOG_ALWAYS_FATAL_IF(previous < 1, "decStrong() called on %p too many times",
                        static_cast<const void*>(this));
    delete this;
}

}  // namespace android
