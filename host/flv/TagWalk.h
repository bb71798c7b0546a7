// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>

#include "flv/TagChain.h"

namespace orvel {

// One step of a walk: a tag, or damage between two.
struct WalkStep {
    enum class Kind {
        kTag,
        kEmptyTag,  // no data
        kCutTag,    // the file ends, or the next tag begins, before the end that its header names
        kDamage,    // bytes that are no tags, or a place where bytes are missing
    };
    Kind kind = Kind::kTag;

    // A tag. Where the next one shows that the size in its header is wrong, dataSize is the true one.
    TagUnit unit;
    uint32_t declaredSize = 0;  // as its header says

    // Damage: no tag begins in these bytes.
    int64_t from = 0, to = 0;
    int64_t zeros = 0;      // so many bytes of it, from the first on, are 0
    bool endsFile = false;  // no tag follows

    // Damage or a cut tag: PreviousTagSize of the next tag shows that no tag is missing before it.
    bool losesNoTag = false;

    bool isTag() const { return kind != Kind::kDamage; }
};

// A file's tags in order, past damage: where the chain breaks, the walk goes on with the next tag that others
// confirm. Linear in the file's size, with memory that does not depend on it. A copy goes on from where the
// original stands.
class TagWalk {
  public:
    // The chain must outlive it. firstSlot: where the header says that the tags begin.
    TagWalk(TagChain& chain, int64_t firstSlot);

    // Nothing at the end.
    std::optional<WalkStep> next();

    // The slot after the last tag, once next() has given nothing.
    int64_t end() const { return mSlot; }

  private:
    void begin();
    void goOn(int64_t slot);
    void lookAhead(WalkStep* step);
    void passTruncated(const TagUnit& follower, bool follows);
    void bridge(WalkStep* step);
    void addDamage(int64_t from, std::optional<int64_t> to, bool losesNoTag);

    TagChain* mChain;
    int64_t mSlot;
    std::optional<WalkStep> mNext;    // the tag at mSlot, read already
    std::optional<WalkStep> mDamage;  // what comes before it
};

}  // namespace orvel
