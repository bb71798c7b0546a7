// SPDX-License-Identifier: Apache-2.0
#include "flv/TagWalk.h"

#include <algorithm>
#include <utility>

namespace orvel {
namespace {

constexpr uint32_t kTagHeaderSize = 11;
constexpr int64_t kPreviousTagSizeSize = 4;
constexpr int64_t kWindow = 64 * 1024;

WalkStep StepOf(const TagUnit& unit) {
    WalkStep step;
    step.kind = unit.dataSize == 0 ? WalkStep::Kind::kEmptyTag : WalkStep::Kind::kTag;
    step.unit = unit;
    step.declaredSize = unit.dataSize;
    return step;
}

int64_t CountZeros(TagChain& chain, int64_t from, int64_t to) {
    for (int64_t at = from; at < to;) {
        const std::vector<uint8_t> bytes = chain.bytes(at, static_cast<size_t>(std::min(kWindow, to - at)));
        auto end = std::find_if(bytes.begin(), bytes.end(), [](uint8_t byte) { return byte != 0; });
        at += end - bytes.begin();
        if (end != bytes.end() || bytes.empty()) return at - from;
    }
    return to - from;
}

}  // namespace

TagWalk::TagWalk(TagChain& chain, int64_t firstSlot) : mChain(&chain), mSlot(firstSlot) {
    begin();
}

void TagWalk::begin() {
    std::optional<TagUnit> first = mChain->read(mSlot);
    if (!first) return;
    TagChain::State state = mChain->judge(*first, std::nullopt);
    if (state == TagChain::State::kTruncated) {
        passTruncated(*first, true);
    } else if (state != TagChain::State::kGarbage) {
        mNext = StepOf(*first);
    } else {
        std::optional<int64_t> found = mChain->resume(mSlot + 1);
        addDamage(first->offset(), found, false);
        if (found) goOn(*found);
    }
}

void TagWalk::goOn(int64_t slot) {
    mSlot = slot;
    std::optional<TagUnit> unit = mChain->read(slot);
    if (unit) mNext = StepOf(*unit);
}

std::optional<WalkStep> TagWalk::next() {
    if (mDamage) return std::exchange(mDamage, std::nullopt);
    if (!mNext) return std::nullopt;
    WalkStep step = *std::exchange(mNext, std::nullopt);
    if (step.kind == WalkStep::Kind::kCutTag) {
        goOn(step.unit.next());
    } else {
        lookAhead(&step);
    }
    return step;
}

// What follows a tag tells whether its size is right, so each one is delivered when the next has been seen.
void TagWalk::lookAhead(WalkStep* step) {
    mSlot = step->unit.next();
    std::optional<TagUnit> follower = mChain->read(mSlot);
    if (!follower) return;
    switch (mChain->judge(*follower, step->unit.dataSize + kTagHeaderSize)) {
        case TagChain::State::kSound:
        case TagChain::State::kEmpty:
            mNext = StepOf(*follower);
            return;
        case TagChain::State::kTruncated:
            return passTruncated(*follower, follower->previousTagSize == step->declaredSize + kTagHeaderSize);
        case TagChain::State::kGarbage:
            return bridge(step);
    }
}

// A tag whose data would run past the end of the file: its size is wrong if others follow inside, and it is
// cut if none does, or if bytes are missing. One that does not follow the tag before it is no tag.
void TagWalk::passTruncated(const TagUnit& follower, bool follows) {
    std::optional<int64_t> found = mChain->resume(follower.dataOffset());
    std::optional<TagUnit> next = found ? mChain->read(*found) : std::nullopt;
    if (next && !follows) {
        addDamage(follower.offset(), found, false);
        return goOn(*found);
    }
    WalkStep step = StepOf(follower);
    int64_t end = next ? *found : mChain->size();
    step.unit.dataSize = static_cast<uint32_t>(end - follower.dataOffset());
    bool isMended = next && next->previousTagSize == step.unit.dataSize + kTagHeaderSize;
    if (!isMended) step.kind = WalkStep::Kind::kCutTag;
    mNext = step;
}

// The chain breaks after this tag. The next tag may begin inside its data, where bytes are missing or its
// size is too large. PreviousTagSize of that tag tells whether the two followed each other before.
void TagWalk::bridge(WalkStep* step) {
    TagUnit& unit = step->unit;
    const int64_t brokenAt = unit.next();
    std::optional<int64_t> found = mChain->resume(unit.dataOffset());
    std::optional<TagUnit> next = found ? mChain->read(*found) : std::nullopt;
    if (!next) return addDamage(brokenAt + kPreviousTagSizeSize, std::nullopt, false);
    const int64_t distance = *found - unit.dataOffset();
    const bool isMended = next->previousTagSize == distance + kTagHeaderSize;
    const bool isNeighbour = isMended || next->previousTagSize == unit.dataSize + kTagHeaderSize;
    if (isMended || *found < brokenAt) unit.dataSize = static_cast<uint32_t>(distance);
    if (unit.dataSize > 0 && step->kind == WalkStep::Kind::kEmptyTag) step->kind = WalkStep::Kind::kTag;
    step->losesNoTag = isNeighbour;
    if (!isMended && *found < brokenAt) step->kind = WalkStep::Kind::kCutTag;
    if (!isMended && *found >= brokenAt) addDamage(brokenAt + kPreviousTagSizeSize, found, isNeighbour);
    goOn(*found);
}

// Offsets are of tags, as everywhere in messages; a damaged place ends where the next tag begins.
void TagWalk::addDamage(int64_t from, std::optional<int64_t> to, bool losesNoTag) {
    WalkStep step;
    step.kind = WalkStep::Kind::kDamage;
    step.from = from;
    step.to = to ? *to + kPreviousTagSizeSize : mChain->size();
    step.endsFile = !to;
    step.losesNoTag = losesNoTag;
    step.zeros = CountZeros(*mChain, from, step.to);
    if (!to) mSlot = mChain->size();
    mDamage = step;
}

}  // namespace orvel
