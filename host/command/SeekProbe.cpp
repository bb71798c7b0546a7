// SPDX-License-Identifier: Apache-2.0
#include "command/SeekProbe.h"

#include <algorithm>

#include "Utils.h"
#include "command/PlatformLog.h"

namespace orvel {
namespace {

constexpr int64_t kHeaderSize = 9;
constexpr int64_t kDataOffsetField = 5;

// In front of a candidate for a tag lies the field of 4 bytes that a scan steps back to.
constexpr int64_t kPreviousTagSizeSize = 4;

// The position that interpolation over the duration gives for a time.
int64_t EstimatePosition(const Input& input, int64_t timeUs) {
    uint8_t field[4];
    int64_t dataOffset = kHeaderSize;
    if (input.source().inner()->readAt(kDataOffsetField, field, sizeof(field)) == sizeof(field)) {
        dataOffset = static_cast<int32_t>(android::U32_AT(field));
    }
    int64_t durationMs = input.durationUs() / 1000;
    if (durationMs == 0) return dataOffset;
    double share = static_cast<double>((timeUs + 500) / 1000) / static_cast<double>(durationMs);
    return dataOffset + static_cast<int64_t>(share * static_cast<double>(input.size() - dataOffset));
}

SeekRoute FindSlowRoute(const Input& input, const LogCatcher& log, int64_t timeUs) {
    if ((input.source().flags() & android::DataSource::kIsCachingDataSource) != 0) return SeekRoute::kBackOff;
    off64_t first = input.source().firstOffset();
    bool startsAtIndexEntry = log.find("there is something wrong") != nullptr;
    if (first < 0 || startsAtIndexEntry) return SeekRoute::kSlowScan;
    int64_t estimate = EstimatePosition(input, timeUs);
    return first + kPreviousTagSizeSize < estimate ? SeekRoute::kBackOff : SeekRoute::kPlainScan;
}

SeekRoute FindRoute(const Input& input, const LogCatcher& log, int64_t timeUs) {
    if (timeUs < 1) return SeekRoute::kStart;
    if (log.find("use keyframe table") != nullptr) return SeekRoute::kIndex;
    if (log.find("use the next audio tag directly") != nullptr) return SeekRoute::kIndex;
    return FindSlowRoute(input, log, timeUs);
}

}  // namespace

const char* NameOf(SeekRoute route) {
    switch (route) {
        case SeekRoute::kStart:
            return "start";
        case SeekRoute::kIndex:
            return "key-frame index";
        case SeekRoute::kPlainScan:
            return "plain scan";
        case SeekRoute::kBackOff:
            return "back-off";
        case SeekRoute::kSlowScan:
            return "slow scan";
    }
    return "";
}

SeekLanding ProbeSeek(const Input& input, size_t track, int64_t timeUs) {
    TrackReader reader = input.openTrack(track);
    ReadCount before = input.source().count();
    input.source().markReads();
    SeekLanding landing;
    {
        LogCatcher log;
        landing.isEndOfStream = !reader.seek(timeUs);
        landing.route = FindRoute(input, log, timeUs);
    }
    landing.cost.calls = input.source().count().calls - before.calls;
    landing.cost.bytes = input.source().count().bytes - before.bytes;
    if (landing.isEndOfStream) return landing;
    landing.timeUs = reader.sample().timeUs;
    landing.isSync = reader.sample().isSync;
    landing.size = reader.sample().bytes.size;
    return landing;
}

}  // namespace orvel
