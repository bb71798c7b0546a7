// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <media/stagefright/DataSource.h>

#include <array>
#include <optional>
#include <vector>

namespace orvel {

enum class TagType : uint8_t { kAudio = 8, kVideo = 9, kScript = 18 };

// One unit of the chain: the PreviousTagSize field, the tag's header and the first bytes of its data (Adobe
// Flash Video File Format Specification 10.1, E.3 and E.4).
struct TagUnit {
    static constexpr int64_t kHeadSize = 15;  // PreviousTagSize and tag header

    int64_t slot = 0;  // file offset of the PreviousTagSize field
    uint32_t previousTagSize = 0;
    uint8_t type = 0;
    uint32_t dataSize = 0;
    uint32_t timestampMs = 0;
    uint32_t streamId = 0;
    std::array<uint8_t, 16> data{};  // as much as there is, then zeros

    int64_t offset() const { return slot + 4; }  // of the tag itself
    int64_t dataOffset() const { return slot + kHeadSize; }
    int64_t next() const { return dataOffset() + dataSize; }
    bool is(TagType wanted) const { return type == static_cast<uint8_t>(wanted); }
    bool isKnown() const { return is(TagType::kAudio) || is(TagType::kVideo) || is(TagType::kScript); }
};

// A file's chain of tags, read on its own, without the plug-in. Every question costs a bounded number of
// small reads, but for resume(), which is linear in the bytes that it passes over.
class TagChain {
  public:
    // The source must outlive it.
    TagChain(android::DataSource& source, int64_t size);

    int64_t size() const { return mSize; }
    android::DataSource& source() const { return mSource; }

    // The unit at a slot, whatever it is; nothing when fewer than 15 bytes are left or cannot be read.
    std::optional<TagUnit> read(int64_t slot);

    enum class State {
        kSound,
        kEmpty,      // a tag without data: the plug-in ends a track there
        kTruncated,  // its header is one, but its data runs past the end of the file
        kGarbage,
    };
    // What a unit is, given the size that the tag in front of it has (11 + DataSize; nothing for the first
    // tag).
    State judge(const TagUnit& unit, std::optional<uint32_t> previousSize);

    // The slot of the first tag at or behind an offset that what follows it confirms.
    std::optional<int64_t> resume(int64_t from);

    // Bytes at an offset, fewer at the end or where reading fails.
    std::vector<uint8_t> bytes(int64_t offset, size_t count);

  private:
    bool isConfirmed(const TagUnit& unit);
    bool mayBegin(const uint8_t* tag, int64_t slot) const;

    android::DataSource& mSource;
    const int64_t mSize;
    std::optional<uint32_t> mStreamId;  // of the first tag; some writers number their streams
};

}  // namespace orvel
