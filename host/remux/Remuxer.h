// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>

#include "av/StreamForm.h"
#include "command/ExtractedTrack.h"
#include "command/Input.h"
#include "remux/DecodingTimes.h"

namespace orvel {

// Where samples come from, in the order in which a player takes them; nothing at the end.
using SampleFeed = std::function<std::optional<Interleaver::Turn>()>;

// Samples of all tracks of an input on their way into a container. The first samples of it are held back
// until each track has shown one and, for codecs that reorder pictures, enough of them to tell how deeply; at
// most kMostHeld bytes. From then on every sample is written as it comes.
class Remuxer {
  public:
    static constexpr size_t kMostHeld = 16 << 20;

    // tracks: those of the input that are written; a feed's are places among them.
    Remuxer(const Input& input, const std::vector<size_t>& tracks, const AvModule& module);

    // Takes the feed to its end. Times are kept, or, with fromZero, all put back by the earliest of the first
    // ones, so that what was cut out of a recording does not begin with a pause. Throws Failure (kDamaged)
    // when there are no samples.
    // Chapters' times are put back with the samples'; one that has begun before the first sample begins with
    // it.
    void run(const SampleFeed& feed, const std::string& format, MuxDetails details, bool fromZero,
             ByteSink& sink);

    const TrackSpan& span(size_t track) const { return mTracks[track].span; }  // of what was read
    uint64_t written(size_t track) const { return span(track).count() - mTracks[track].losses.leftOut; }
    int64_t shiftUs() const { return mShiftUs; }
    // What of a track was not kept as it was, as a clause; empty when all was.
    std::string remark(size_t track) const;

  private:
    struct Track {
        StreamForm form;
        bool reorders;  // its codec can
        StreamFacts facts;
        std::vector<int64_t> firstTimesUs;  // as written, of the samples held
        DecodingTimes decodingTimes;
        std::optional<int64_t> lastDecodingTimeUs;
        TrackSpan span;
        Muxer::Losses losses;
    };
    struct HeldSample {
        size_t track;
        int64_t timeUs;
        bool isSync;
        std::vector<uint8_t> bytes;
    };

    // Result: whether the feed has ended.
    bool hold(const SampleFeed& feed);
    void keep(const Interleaver::Turn& turn);
    bool knowsEnough() const;
    std::unique_ptr<Muxer> openMuxer(const std::string& format, MuxDetails details, ByteSink& sink);
    void shiftChapters(std::vector<MuxDetails::Chapter>* chapters) const;
    void write(Muxer& muxer, size_t track, const AccessUnit& sample);

    const AvModule& mModule;
    std::vector<Track> mTracks;
    std::vector<HeldSample> mHeld;
    size_t mHeldBytes = 0;
    int64_t mFirstUs = 0;  // the earliest of the samples held
    int64_t mShiftUs = 0;
    bool mRepeatsParameterSets = false;
};

}  // namespace orvel
