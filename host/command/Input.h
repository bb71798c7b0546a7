// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "command/TrackReader.h"
#include "format/TrackFormat.h"
#include "loader/PluginLoader.h"
#include "source/CountingSource.h"

namespace orvel {

// One file or URL, opened through the plug-in as a device does: sniffed, then handed to an extractor.
class Input {
  public:
    // Throws Failure: kInputOutput when the location cannot be opened or read; kDamaged when it is not
    // claimed, or yields no track, saying at which byte what was expected.
    Input(const Plugin& plugin, const std::string& location);

    const std::string& location() const { return mLocation; }  // as the user gave it
    const std::string& name() const { return mName; }          // as it is shown, without secrets
    const std::vector<TrackFormat>& tracks() const { return mTracks; }
    int64_t durationUs() const { return mTracks[0].durationUs; }  // the container's; 0 when unknown
    int64_t size() const { return mSize; }

    // The key-frame index that the metadata carries, as the plug-in found it. Seeking uses it only when it
    // has a time for every position, and 10 of them or more.
    struct Index {
        size_t positions = 0;
        size_t times = 0;
        bool isUsed() const { return positions == times && positions >= 10; }
    };
    const Index& index() const { return mIndex; }

    TrackReader openTrack(size_t index) const;

    CountingSource& source() const { return *mSource; }

    // To be called when reading is over, before anything is concluded from it: throws Failure (kInputOutput)
    // if the end of a stream was a failed read.
    void throwIfReadsFailed() const;

  private:
    void readIndex();

    const std::string mLocation;
    const std::string mName;
    android::sp<CountingSource> mSource;
    android::sp<android::MediaExtractor> mExtractor;
    std::vector<TrackFormat> mTracks;
    int64_t mSize = 0;
    Index mIndex;
};

}  // namespace orvel
