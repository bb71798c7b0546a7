// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "flv/Metadata.h"
#include "flv/StreamHeader.h"
#include "inspect/Findings.h"
#include "inspect/Timeline.h"
#include "source/CountingSource.h"

namespace orvel {

struct FrameRate {  // frames a second
    int64_t numerator;
    int64_t denominator;
};

// A stream as its tags tell it.
struct StreamSeen {
    StreamHeader header;
    int64_t firstOffset = 0;  // of its first tag
    uint64_t tags = 0;
    uint64_t samples = 0;
    uint64_t keyFrames = 0;      // video only
    uint64_t leadingFrames = 0;  // video only: samples before the first key frame
    uint64_t bytes = 0;          // of tag data
    int64_t firstMs = -1;        // of samples; -1 when there are none
    int64_t lastMs = -1;
    int64_t startMs = -1;         // the earliest presentation time
    int64_t shortestStepMs = -1;  // from one sample to the next
    int64_t longestStepMs = -1;
    uint64_t payloadBytes = 0;  // of samples
    // Where its configuration and its first sample that can be decoded are: slots; -1 when there is none.
    static constexpr size_t kMostConfigurations = 8;
    std::vector<int64_t> configurationSlots;
    int64_t firstSampleSlot = -1;
    std::string whyNoTrack;  // empty when the plug-in can offer one

    // The mean, as the whole number or NTSC's rate that it is but for the rounding of timestamps; nothing for
    // fewer than two samples.
    std::optional<FrameRate> frameRate() const;
    bool hasEvenFrames() const;
    const char* kindName() const { return header.kind == TrackKind::kVideo ? "video" : "audio"; }
};

// The script tags other than onMetaData: cue points, captions, what else writers put there.
struct Scripts {
    struct Count {
        uint64_t tags = 0;
        uint64_t bytes = 0;
    };
    std::map<std::string, Count> counts;  // by name; names beyond kMostNames are counted as ""
    std::vector<ScriptEvent> events;      // the first ones, as long as their bytes are at most kMostBytes
    uint64_t eventBytes = 0;

    static constexpr size_t kMostNames = 64;
    static constexpr uint64_t kMostBytes = 1 << 20;

    void add(ScriptEvent event);
    bool keepsAll() const { return eventBytes <= kMostBytes; }
};

struct IndexEntry {
    double timeSeconds;
    int64_t position;
    bool isRight;
};

// All that walking a file's chain of tags once has shown.
struct Inspection {
    int64_t size = 0;
    bool isFlv = false;
    std::vector<StreamSeen> streams;  // at most kMostStreams
    uint64_t tags = 0;
    std::optional<Metadata> metadata;  // the first one
    Scripts scripts;
    std::vector<IndexEntry> index;  // at most kMostIndexEntries
    Findings findings;
    Timeline timeline;
    bool clockIsSound = true;  // all timestamps were believed

    static constexpr size_t kMostStreams = 16;
    static constexpr size_t kMostIndexEntries = 65536;

    // The latest timestamp of a sample, in milliseconds from the first; 0 without samples.
    int64_t spanMs() const;
};

// Walks the whole file: linear in its size, with memory that does not grow with it. progress is told how many
// bytes are behind.
Inspection Inspect(android::DataSource& source, int64_t size, const std::function<void(int64_t)>& progress);

// The same for a source that is known by this name, with its progress shown. Throws Failure (kInputOutput)
// when it cannot be read.
Inspection InspectSource(CountingSource& source, int64_t size, const std::string& name);

// The same for what the user named, with its progress shown. Throws Failure (kInputOutput) when it cannot be
// opened or read.
Inspection InspectLocation(const std::string& location);

}  // namespace orvel
