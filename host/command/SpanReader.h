// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <deque>
#include <optional>
#include <vector>

#include "command/Input.h"
#include "support/Progress.h"

namespace CLI {
class App;
}

namespace orvel {

// Which part of an input is to be written, and how damage in it is passed.
struct Span {
    std::optional<int64_t> fromUs, toUs;
    std::optional<Recovery> recovery() const;

    std::string recover;  // as the user said it; empty: not at all
};
// --from, --to and --recover. With a target, a word given to --to that is no time is stored there.
void AddSpanOptions(CLI::App* app, Span* span, std::string* target = nullptr);
// Throws Failure (kUsage) for a span that ends before it begins.
void CheckSpan(const Span& span);

// The samples of some tracks within a span, as a player takes them (Interleaver), with progress told on the
// way and what is lost to damage complained about.
//
// Every sample before the span's end is delivered. Where a codec reorders pictures, some later ones come
// before the last of these in the file; they are delivered, too, since pictures shown before them may be
// predicted from them.
class SpanReader {
  public:
    // The input must outlive it. tracks: indices of the input's.
    SpanReader(const Input& input, const std::vector<size_t>& tracks, const Span& span);

    // track: the place among the tracks given. The sample holds until the next call.
    std::optional<Interleaver::Turn> next();

    // How many pictures of a track were left out after damage; said when it happens.
    uint64_t leftOut(size_t track) const { return mLeftOut[track]; }

  private:
    struct HeldSample {
        size_t track;
        int64_t timeUs;
        bool isSync;
        std::vector<uint8_t> bytes;
    };
    // What came of a track at or after the span's end.
    struct Overhang {
        bool reorders;  // its codec can
        size_t count;
        size_t bytes;
        std::deque<HeldSample> samples;  // those since the last one before the end
    };

    std::vector<TrackReader> openReaders(const std::vector<size_t>& tracks);
    static HeldSample copy(const Interleaver::Turn& turn);
    void holdBack(const Interleaver::Turn& turn);
    int64_t position(int64_t timeUs) const;
    int64_t total() const;

    const Input& mInput;
    const Span mSpan;
    std::vector<uint64_t> mLeftOut;
    Interleaver mSamples;
    std::vector<Overhang> mOverhangs;
    std::deque<HeldSample> mReady;  // the first one is delivered while mDeliversReady
    bool mDeliversReady = false;
    AccessUnit mDelivered;
    Progress mProgress;
};

}  // namespace orvel
