// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "command/Input.h"

namespace orvel {

// How a seek found its sample.
enum class SeekRoute {
    kStart,      // a time at or before zero: the track's first sample, without a search
    kIndex,      // the key-frame index
    kPlainScan,  // from an estimated position, tag by tag, backward too
    kBackOff,    // from positions ever further before the estimate, forward only
    kSlowScan,   // one of these two, and nothing told which
};
const char* NameOf(SeekRoute route);

// Where a seek landed and what it cost.
struct SeekLanding {
    bool isEndOfStream = false;  // then there is no sample
    int64_t timeUs = 0;
    bool isSync = false;
    size_t size = 0;
    SeekRoute route = SeekRoute::kStart;
    ReadCount cost;
};

// Makes one seek on a new source of the track. The route is learnt from what the plug-in logs. It does not
// log which of the two slow ones it takes: a caching source backs off always; on others the first read tells,
// which lies at the estimated position or after it for a plain scan, and well before it for a back-off.
SeekLanding ProbeSeek(const Input& input, size_t track, int64_t timeUs);

}  // namespace orvel
