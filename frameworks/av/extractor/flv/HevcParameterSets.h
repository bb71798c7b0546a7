// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <media/stagefright/foundation/ABuffer.h>
#include <stdint.h>
#include <string.h>

#include <memory>

#include "FlvReader.h"

namespace FlvReader {

// The payloads of the three key-frame tags that carry an HEVC stream's configuration, one parameter set in
// Annex B form (ITU-T H.265) each, in file order.
struct CFlv::HevcParameterSets {
    static constexpr int kCount = 3;

    struct {
        std::unique_ptr<uint8_t[]> data;
        uint32_t size = 0;  // at most kMaxConfigurationBytes
    } payloads[kCount];
    int held = 0;

    // All of them one behind the other.
    android::sp<android::ABuffer> Join() const {
        size_t size = 0;
        for (const auto& payload : payloads)
            size += payload.size;
        android::sp<android::ABuffer> joined = new android::ABuffer(size);
        joined->setRange(0, 0);
        for (const auto& payload : payloads) {
            memcpy(joined->base() + joined->size(), payload.data.get(), payload.size);
            joined->setRange(0, joined->size() + payload.size);
        }
        return joined;
    }

    bool Complete() const { return held == kCount; }
};

}  // namespace FlvReader
