// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>

#include <map>
#include <string>
#include <vector>

namespace orvel {

enum class Severity {
    kNote,     // worth knowing; nothing is wrong
    kWarning,  // against the format, or promising what is not there; players cope
    kError,    // something cannot be read
};
const char* NameOf(Severity severity);

// Every kind of finding. Its row in Findings.cpp has the stable code and the severity.
enum class Kind {
    kNotFlv,
    kNoStreams,
    kGarbage,
    kZeros,
    kTagSize,
    kEmptyTag,
    kTruncatedTag,
    kHeaderFlags,
    kDataOffset,
    kPreviousTagSize,
    kUnknownTag,
    kTrailingBytes,
    kTimeBack,
    kTimeJump,
    kTimeImplausible,
    kReconnect,
    kTimeWrap,
    kTimeOffset,
    kMetadataBroken,
    kIndexUneven,
    kIndexMisses,
    kIndexTime,
    kDurationWrong,
    kCodecChange,
    kNoTrack,
    kNoKeyFrameFirst,
    kNoMetadata,
    kNoDuration,
    kNoLastSize,
};
struct KindTraits {
    Kind kind;
    const char* code;  // for programs; never changes
    Severity severity;
    const char* meaning;
};
const std::vector<KindTraits>& AllKinds();
const KindTraits& TraitsOf(Kind kind);

struct Finding {
    Kind kind;
    int64_t offset;    // of the byte that it is about
    std::string text;  // what was found there, as a clause
};

// What was found, with as much of it as a person reads: the first kMostShown of a kind in full, the rest
// counted.
class Findings {
  public:
    static constexpr size_t kMostShown = 10;

    void add(Kind kind, int64_t offset, std::string text);
    const std::vector<Finding>& shown() const { return mShown; }
    const std::map<Kind, uint64_t>& counts() const { return mCounts; }
    uint64_t count(Severity severity) const;

  private:
    std::vector<Finding> mShown;
    std::map<Kind, uint64_t> mCounts;
};

}  // namespace orvel
