// SPDX-License-Identifier: Apache-2.0
#include "command/Input.h"

#include <fmt/format.h>
#include <stdio.h>

#include "command/PlatformLog.h"
#include "command/Rejection.h"
#include "source/OpenSource.h"
#include "support/Failure.h"

namespace orvel {
namespace {

android::sp<android::DataSource> Open(const std::string& location) {
    std::string error;
    android::sp<android::DataSource> source = OpenSource(location, &error);
    if (source == nullptr) throw Failure(ExitCode::kInputOutput, error);
    return source;
}

}  // namespace

Input::Input(const Plugin& plugin, const std::string& location)
    : mLocation(location), mName(ShownLocation(location)), mSource(new CountingSource(Open(location))) {
    off64_t size = 0;
    if (mSource->getSize(&size) == android::OK) mSize = size;
    if (plugin.sniff(mSource)) {
        mExtractor = plugin.createExtractor(mSource);
        uint32_t flags = android::IMediaExtractor::kIncludeExtensiveMetaData;
        for (size_t i = 0; i < mExtractor->countTracks(); ++i) {
            mTracks.push_back(ReadTrackFormat(*mExtractor->getTrackMetaData(i, flags)));
        }
    }
    throwIfReadsFailed();
    if (mTracks.empty()) {
        throw Failure(ExitCode::kDamaged, fmt::format("{}: {}", mName, ExplainRejection(*mSource, mSize)));
    }
    readIndex();
}

void Input::readIndex() {
    LogCatcher catcher;
    mExtractor->getTrack(0);
    const std::string* line = catcher.find("mKeyFramePositions=");
    Index index;
    if (line == nullptr) return;
    const char* format = "mKeyFramePositions=%zu, mKeyFrameTimes=%zu";
    if (sscanf(line->c_str(), format, &index.positions, &index.times) == 2) mIndex = index;
}

TrackReader Input::openTrack(size_t index) const {
    return TrackReader(mExtractor->getTrack(index));
}

void Input::throwIfReadsFailed() const {
    if (!mSource->hasFailed()) return;
    throw Failure(ExitCode::kInputOutput, LastReadError(mSource->inner(), mName));
}

}  // namespace orvel
