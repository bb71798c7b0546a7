// SPDX-License-Identifier: Apache-2.0
#include "command/ExtractedTrack.h"

#include <fmt/format.h>

#include <algorithm>

#include "command/Options.h"
#include "support/CountText.h"
#include "support/Failure.h"
#include "support/TimeText.h"

namespace orvel {
namespace {

constexpr int64_t kSecond = 1000000;

// The last packet may be cut short; any other of another size is a difference.
PacketSizes MeasurePackets(const Input& input, size_t track) {
    if (input.tracks()[track].codec != Codec::kAdpcm) return PacketSizes();
    PacketSizes sizes;
    size_t lastSize = 0;
    TrackReader reader = input.openTrack(track);
    while (reader.next()) {
        if (sizes.size == 0) sizes.size = lastSize = reader.sample().bytes.size;
        sizes.areEqual = lastSize == sizes.size;
        if (!sizes.areEqual) break;
        lastSize = reader.sample().bytes.size;
    }
    if (lastSize > sizes.size) sizes.areEqual = false;
    return sizes;
}

}  // namespace

void TrackSpan::add(int64_t timeUs) {
    if (mCount++ == 0) mEarliestUs = mLatestUs = timeUs;
    mLongestGapUs = std::max(mLongestGapUs, timeUs - mLatestUs);
    mEarliestUs = std::min(mEarliestUs, timeUs);
    mLatestUs = std::max(mLatestUs, timeUs);
}

bool TrackSpan::endsWellBefore(int64_t timeUs) const {
    int64_t slack = std::max({kSecond, timeUs / 50, std::min(mLongestGapUs, 10 * kSecond)});
    return timeUs - mLatestUs > slack;
}

std::string PathOfTrack(const std::string& stem, const TrackFormat& format) {
    const char* extension = TraitsOf(format.codec).extension;
    if (extension != nullptr) return stem + extension;
    throw Failure(ExitCode::kDamaged, fmt::format("tracks of type {} cannot be written", format.mime));
}

ExtractedTrack::ExtractedTrack(const Input& input, size_t track, const std::string& path,
                               AtomicFile::Existing existing, bool withTimestamps)
    : mFormat(input.tracks()[track]), mTrack(track), mFile(path, existing) {
    mWriter = MakeSampleWriter(mFormat, MeasurePackets(input, track), mFile);
    if (!withTimestamps) return;
    const std::string timestamps = mFile.path() + ".timestamps.txt";
    RequireOtherFile(timestamps, input.location());
    mTimestampsFile = std::make_unique<AtomicFile>(timestamps, existing);
    mTimestamps = std::make_unique<TimestampFile>(*mTimestampsFile);
}

void ExtractedTrack::write(const AccessUnit& sample) {
    mSpan.add(sample.timeUs);
    mWriter->write(sample);
    if (mTimestamps) mTimestamps->add(sample.timeUs);
}

std::string ExtractedTrack::commit() {
    if (mSpan.count() == 0) return "";
    mWriter->finish();
    mFile.commit();
    if (mTimestamps) {
        mTimestamps->finish();
        mTimestampsFile->commit();
    }
    return fmt::format("{}: {} {}, {}, {} s to {} s, {}", mFile.path(), mFormat.kindName(),
                       TraitsOf(mFormat.codec).title, CountText(mSpan.count(), "sample"),
                       FormatSeconds(mSpan.firstUs()), FormatSeconds(mSpan.lastUs()),
                       CountText(mFile.size(), "byte"));
}

std::string ExtractedTrack::remark() const {
    std::string remark = mWriter->remark();
    std::string timestamps = mTimestamps ? mTimestamps->remark() : "";
    return remark + (remark.empty() || timestamps.empty() ? "" : "; ") + timestamps;
}

}  // namespace orvel
