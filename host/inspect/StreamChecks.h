// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <optional>
#include <string>
#include <vector>

#include "flv/StreamHeader.h"
#include "inspect/Findings.h"

namespace orvel {

// What the tags of one kind, video or audio, say of their codec: whether it stays, whether its configuration
// can be read and stays, and whether samples are formed as it says. Faults that recur are counted and told
// once, at the end.
class StreamChecks {
  public:
    // Both must outlive it.
    StreamChecks(TrackKind kind, TagChain& chain, Findings& findings)
        : mKind(kind), mChain(chain), mFindings(findings) {}

    // To be called for every tag of the kind that has data, with its time on the running clock, and whether
    // its data is cut.
    void look(const TagUnit& unit, const StreamHeader& header, int64_t timeMs, bool isCut);
    void finish();

    // Whether the codec changes so often that its names mean nothing.
    bool flaps() const { return mSwitches >= kFlaps; }

  private:
    static constexpr uint64_t kFlaps = 4;

    struct Count {
        uint64_t times = 0;
        int64_t offset = 0;  // of the first
        void add(int64_t at) {
            if (times++ == 0) offset = at;
        }
    };

    void lookAtCodec(const TagUnit& unit, const StreamHeader& header);
    void lookAtStrayBytes(const TagUnit& unit, const StreamHeader& header);
    void lookAtConfiguration(const TagUnit& unit, const StreamHeader& header, int64_t timeMs);
    void lookAtPayload(const TagUnit& unit, const StreamHeader& header);
    void lookAtTrimming(const TagUnit& unit, const StreamHeader& header);
    void lookAtSound(const TagUnit& unit, const StreamHeader& header);
    void tellStrayBytes();
    std::string describeConfiguration(const StreamHeader& header, const std::vector<uint8_t>& record);
    const char* kindName() const { return mKind == TrackKind::kVideo ? "video" : "audio"; }

    const TrackKind mKind;
    TagChain& mChain;
    Findings& mFindings;
    std::optional<StreamHeader> mCodec;  // of the tag before
    uint64_t mSwitches = 0;
    int64_t mFirstSwitch = 0;
    std::vector<uint32_t> mCodecs;  // all that were seen
    Count mOdd;                     // numbers that the format does not know
    uint64_t mTags = 0;
    std::array<uint64_t, 256> mFifthBytes = {};
    std::array<uint64_t, 256> mFirstBytes = {};
    uint64_t mUnlikely = 0;  // tags whose first byte is no header that any recorder writes
    int64_t mFirstTag = 0;
    std::vector<uint8_t> mRecord;
    std::string mRecordText;
    size_t mLengthSize = 0;            // of NAL units; 0 before a record
    std::optional<uint8_t> mTrimming;  // the adjustment byte of VP6
    uint64_t mPayloads = 0;
    Count mUnprefixed;
    bool mHasStartCodes = false;
    Count mContradicted;  // sound whose own header is not the tag's
    std::string mContradiction;
};

}  // namespace orvel
