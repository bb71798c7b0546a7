// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "command/RecoveringReader.h"
#include "command/TrackReader.h"
#include "format/TrackFormat.h"
#include "inspect/Inspection.h"
#include "loader/PluginLoader.h"
#include "source/CountingSource.h"

namespace orvel {

// One file or URL, opened through the plug-in as a device does: sniffed, then handed to an extractor. With a
// recovery, its tracks are those of the walk over its tags, wherever their configuration lies.
class Input {
  public:
    // Throws Failure: kInputOutput when the location cannot be opened or read; kDamaged when it is not
    // claimed, or yields no track, saying at which byte what was expected, or what it holds instead.
    Input(const Plugin& plugin, const std::string& location, std::optional<Recovery> recovery = std::nullopt);

    const std::string& location() const { return mLocation; }  // as the user gave it
    const std::string& name() const { return mName; }          // as it is shown, without secrets
    const std::vector<TrackFormat>& tracks() const { return mTracks; }
    int64_t durationUs() const { return mTracks[0].durationUs; }  // the container's; 0 when unknown
    int64_t size() const { return mSize; }
    bool recovers() const { return mRecovery.has_value(); }

    // The key-frame index that the metadata carries, as the plug-in found it. Seeking uses it only when it
    // has a time for every position, and 10 of them or more.
    struct Index {
        size_t positions = 0;
        size_t times = 0;
        bool isUsed() const { return positions == times && positions >= 10; }
    };
    const Index& index() const { return mIndex; }

    // report: see RecoveringReader.
    TrackReader openTrack(
            size_t index, LossReport report = [](const LeftOutPictures&) {}) const;

    // What a walk over all of its tags shows; made by the first call. Throws Failure (kInputOutput) when the
    // file could not be read.
    const Inspection& inspection() const;
    // The stream that a track is made of, in inspection(); null when the walk has not found it.
    const StreamSeen* streamOf(size_t track) const;
    bool hasTrackOf(const StreamSeen& stream) const;

    // Whether reading all of it is cheap, as it is not over a network.
    bool isNear() const { return (mSource->flags() & android::DataSource::kIsCachingDataSource) == 0; }

    CountingSource& source() const { return *mSource; }

    // To be called when reading is over, before anything is concluded from it: throws Failure (kInputOutput)
    // if the end of a stream was a failed read.
    void throwIfReadsFailed() const;

    // What was made up because the file lacks it, as a clause; empty when nothing was.
    const std::string& remark() const { return mRemark; }

  private:
    void openAsDevice(const Plugin& plugin);
    void openStreams(const Plugin& plugin);
    void mendAudioConfiguration();
    void trimVp6();
    void readIndex();
    [[noreturn]] void refuse() const;
    const StreamSeen* mainStream(TrackKind kind) const;

    const std::string mLocation;
    const std::string mName;
    const std::optional<Recovery> mRecovery;
    android::sp<CountingSource> mSource;
    android::sp<android::MediaExtractor> mExtractor;
    std::vector<TrackFormat> mTracks;
    bool mHasAudioMended = false;  // its first tag is a sample, which the plug-in takes for the configuration
    int64_t mSize = 0;
    Index mIndex;
    std::string mRemark;
    mutable std::optional<Inspection> mInspection;
};

}  // namespace orvel
