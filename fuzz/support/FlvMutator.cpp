// SPDX-License-Identifier: Apache-2.0
#include "support/FlvMutator.h"

#include <algorithm>
#include <cstring>
#include <random>
#include <vector>

#include "support/FlvTags.h"

namespace orvel {
namespace {

using Bytes = std::vector<uint8_t>;

constexpr size_t kFileHeader = 9;
constexpr size_t kUnitHeader = 15;
constexpr size_t kGrowth = 64;  // bytes by which one mutation makes a tag longer at most
constexpr size_t kIndexEntries = 12;

struct Tag {
    uint8_t type;
    uint32_t timestamp;
    Bytes data;
};

// Tags that lead to code which random bytes do not reach.
const Tag kTemplates[] = {
        {8, 0, {0xAF, 0, 0x12, 0x10}},                                                  // AAC configuration
        {8, 23, {0xAF, 1, 0x21, 0x1A, 0x4F}},                                           // AAC
        {8, 26, {0x2E, 0xFF, 0xFB, 0x90, 0x64}},                                        // MP3
        {8, 40, {0x42, 1, 2, 3}},                                                       // Nellymoser 16 kHz
        {8, 40, {0x52, 1, 2, 3}},                                                       // Nellymoser 8 kHz
        {9, 0, {0x17, 0, 0, 0, 0, 1, 0x42, 0xC0, 0x0D, 0xFF, 0xE1, 0, 4, 0x67, 0x42}},  // AVC configuration
        {9, 40, {0x17, 1, 0, 0, 0x28, 0, 0, 0, 2, 0x65, 0x88}},                         // AVC key frame
        {9, 80, {0x27, 1, 0xFF, 0xFF, 0xD8, 0, 0, 0, 1, 1}},                            // a negative offset
        {9, 99, {0x17, 2, 0, 0, 0}},                                                    // AVC end of sequence
        {9, 0, {0x22, 0, 0, 0x84, 0, 0x80, 0x80, 0}},                                   // Sorenson H.263
        {9, 0, {0x12, 0, 0, 0x84, 1, 0x02, 0x82, 0x40, 0}},
        {9, 0, {0x14, 0, 0x78, 0x46, 0x0C, 0x10, 0x0F, 0x14}},        // VP6
        {9, 0, {0x15, 0, 0, 0, 9, 0x79, 0x46, 0, 8, 0x0C, 0x10}},     // VP6 with alpha
        {9, 0, {0x19, 1, 0, 0, 0, 0, 0, 0, 1, 0x40, 1, 0x0C, 1}},     // HEVC VPS
        {9, 0, {0x19, 1, 0, 0, 0, 0, 0, 0, 1, 0x44, 1, 0xC1, 0x72}},  // HEVC PPS
        {9, 120, {0x51, 0}},                                          // seeking information
        {9, 40, {}},                                                  // no data
        {18, 0, {2, 0, 10, 'o', 'n', 'C', 'u', 'e', 'P', 'o', 'i', 'n', 't', 5, 5, 5, 5, 5, 5}},
};

class Mutation {
  public:
    Mutation(ByteSpan file, unsigned seed)
        : mRandom(seed), mHead(file.data, file.data + std::min(file.size, kFileHeader)) {
        size_t end = mHead.size();
        for (const FlvTag& tag : TagsFrom(file, static_cast<int64_t>(kFileHeader))) {
            mTags.push_back({tag.type, tag.timestamp, Bytes(tag.data.data, tag.data.data + tag.data.size)});
            end = tag.end();
        }
        mTail.assign(file.data + std::min(file.size, end + 4), file.data + file.size);
    }

    void apply() {
        switch (pick(mTags.empty() ? 1 : 10)) {
            case 0:
                return insert(kTemplates[pick(std::size(kTemplates))]);
            case 1:
                return insert(any());
            case 2:
                mTags.erase(mTags.begin() + static_cast<ptrdiff_t>(pick(mTags.size())));
                return;
            case 3:
                return std::swap(any(), any());
            case 4:
                any().timestamp = nearTime();
                return;
            case 5:
                return retime();
            case 6:
                return insertIndex();
            default:
                return mutateData(&any().data);
        }
    }

    Bytes file(bool lies) {
        Bytes bytes = mHead;
        uint32_t previous = 0;
        for (const Tag& tag : mTags) {
            add(&bytes, lies && pick(8) == 0 ? static_cast<uint32_t>(mRandom()) >> pick(32) : previous, 4);
            bytes.push_back(tag.type);
            add(&bytes, static_cast<uint32_t>(tag.data.size()), 3);
            add(&bytes, tag.timestamp & 0xFFFFFF, 3);
            add(&bytes, tag.timestamp >> 24, 1);
            add(&bytes, 0, 3);
            bytes.insert(bytes.end(), tag.data.begin(), tag.data.end());
            previous = static_cast<uint32_t>(tag.data.size()) + 11;
        }
        add(&bytes, previous, 4);
        bytes.insert(bytes.end(), mTail.begin(), mTail.end());
        return bytes;
    }

    size_t pick(size_t count) { return mRandom() % count; }

  private:
    static void add(Bytes* bytes, uint64_t value, int count) {
        while (count-- > 0)
            bytes->push_back(static_cast<uint8_t>(value >> (8 * count) & 0xFF));
    }

    Tag& any() { return mTags[pick(mTags.size())]; }

    void insert(Tag tag) {
        mTags.insert(mTags.begin() + static_cast<ptrdiff_t>(pick(mTags.size() + 1)), tag);
    }

    uint32_t nearTime() {
        const uint32_t times[] = {0, 1, 999, 1001, 0xFFFFFF, 0x1000000, 0x7FFFFFFF, 0xFFFFFFFF};
        if (pick(2) == 0) return times[pick(std::size(times))];
        return static_cast<uint32_t>(uint64_t{any().timestamp} + pick(50));
    }

    // Times that go up, as those of a whole file do.
    void retime() {
        const auto step = static_cast<uint32_t>(1 + pick(1500));
        for (size_t i = 0; i < mTags.size(); ++i)
            mTags[i].timestamp = static_cast<uint32_t>(i) * step;
    }

    static void mutateData(Bytes* data) {
        const size_t size = data->size();
        data->resize(size + kGrowth);
        data->resize(LLVMFuzzerMutate(data->data(), size, size + kGrowth));
    }

    static void addArray(Bytes* data, const char* name, const std::vector<double>& numbers) {
        add(data, strlen(name), 2);
        data->insert(data->end(), name, name + strlen(name));
        data->push_back(0x0A);
        add(data, numbers.size(), 4);
        for (const double number : numbers) {
            uint64_t pattern;
            memcpy(&pattern, &number, sizeof(pattern));
            data->push_back(0);
            add(data, pattern, 8);
        }
    }

    // onMetaData in front with an index of the tags that follow it.
    void insertIndex() {
        const char head[] = "\x02\0\x0AonMetaData\x08\0\0\0\1\0\x09keyframes\x03";
        Tag script{18, 0, Bytes(head, head + sizeof(head) - 1)};
        const std::vector<double> none(kIndexEntries);
        for (int pass = 0; pass < 2; ++pass) {
            double position = static_cast<double>(kFileHeader + kUnitHeader + script.data.size() + 4);
            std::vector<double> positions, times;
            for (size_t i = 0; positions.size() < kIndexEntries; ++i) {
                const Tag& tag = mTags[i % mTags.size()];
                positions.push_back(position);
                times.push_back(tag.timestamp / 1000.0);
                position += i + 1 < mTags.size() ? static_cast<double>(kUnitHeader + tag.data.size()) : 0;
            }
            // The first pass only tells how long the tag becomes.
            script.data.resize(sizeof(head) - 1);
            addArray(&script.data, "filepositions", positions);
            addArray(&script.data, "times", times);
            for (int level = 0; level < 2; ++level)
                add(&script.data, 9, 3);
        }
        mTags.insert(mTags.begin(), script);
    }

    std::mt19937 mRandom;
    Bytes mHead;
    std::vector<Tag> mTags;
    Bytes mTail;
};

}  // namespace

size_t MutateFlv(uint8_t* data, size_t size, size_t maxSize, unsigned seed) {
    Mutation mutation(ByteSpan(data, size), seed);
    const size_t kind = mutation.pick(8);
    if (kind == 0 || size < kFileHeader) return LLVMFuzzerMutate(data, size, maxSize);
    mutation.apply();
    const Bytes file = mutation.file(kind == 1);
    const size_t length = std::min(file.size(), maxSize);
    std::copy_n(file.begin(), length, data);
    return length;
}

}  // namespace orvel
