// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <media/IMediaSource.h>
#include <media/stagefright/DataSource.h>
#include <media/stagefright/MediaExtractor.h>
#include <media/stagefright/MetaData.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "support/MemorySource.h"

namespace orvel {

// One delivered access unit.
struct Sample {
    int64_t timeUs;
    bool sync;
    Bytes data;
    bool operator==(const Sample& o) const { return timeUs == o.timeUs && sync == o.sync && data == o.data; }
};

// One line a sample, for golden dumps and failure messages: time, sync, size, CRC-32.
std::string Describe(const Sample& sample);

// The next sample of a source, or the one that a seek lands on; nothing at the end of the stream. Checks the
// contract of read on the way.
std::optional<Sample> Read(android::IMediaSource* source, std::optional<int64_t> seekUs = {});

// Every sample from where the source stands.
std::vector<Sample> ReadAll(android::IMediaSource* source);

// An opened file: the extractor and a started source for each track.
struct Session {
    explicit Session(const android::sp<android::DataSource>& dataSource);
    Session(Bytes bytes, uint32_t flags = 0);

    android::IMediaSource* video();  // null when there is no such track
    android::IMediaSource* audio();

    android::sp<android::MediaExtractor> extractor;
    std::vector<android::sp<android::IMediaSource>> sources;

  private:
    android::IMediaSource* WithMime(const char* prefix);
};

}  // namespace orvel
