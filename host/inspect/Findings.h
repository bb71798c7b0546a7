// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>

#include <map>
#include <string>
#include <utility>
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
    kCodecFlaps,
    kUnknownValues,
    kUnknownValue,
    kStrayBytes,
    kConfigurationBroken,
    kConfigurationChange,
    kPayloadForm,
    kSoundHeader,
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
    const char* advice;  // what to do next
};
const std::vector<KindTraits>& AllKinds();
const KindTraits& TraitsOf(Kind kind);

struct Finding {
    Kind kind;
    int64_t offset;    // of the byte that it is about
    std::string text;  // what was found there, as a clause
    uint64_t times;    // how often, where one finding stands for many
};

// What was found, with as much of it as a person reads: the first kMostShown of a kind in full, the rest
// counted.
class Findings {
  public:
    static constexpr size_t kMostShown = 10;

    void add(Kind kind, int64_t offset, std::string text, uint64_t times = 1);
    const std::vector<Finding>& shown() const { return mShown; }
    // The same for a fault that a writer may have made in every tag: what has one cause is one finding from
    // kMany times on. All such are there after finish().
    static constexpr uint64_t kMany = 8;
    void addCaused(Kind kind, int64_t offset, std::string text, const std::string& cause);
    void finish();
    uint64_t shownOf(Kind kind) const;  // how many of a kind those shown stand for
    const std::map<Kind, uint64_t>& counts() const { return mCounts; }
    uint64_t count(Severity severity) const;

  private:
    struct Caused {
        std::vector<Finding> first;  // fewer than kMany
        uint64_t times = 0;
    };
    static constexpr size_t kMostCauses = 64;

    std::vector<Finding> mShown;
    std::map<Kind, uint64_t> mCounts;    // of faults
    std::map<Kind, uint64_t> mFindings;  // of findings, one of which may stand for many faults
    std::map<std::pair<Kind, std::string>, Caused> mCaused;
};

}  // namespace orvel
