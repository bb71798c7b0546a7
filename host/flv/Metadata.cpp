// SPDX-License-Identifier: Apache-2.0
#include "flv/Metadata.h"

#include <fmt/format.h>
#include <string.h>

#include "Utils.h"

namespace orvel {
namespace {

enum Marker : uint8_t {
    kNumber = 0,
    kBoolean = 1,
    kString = 2,
    kObject = 3,
    kNull = 5,
    kUndefined = 6,
    kReference = 7,
    kEcmaArray = 8,
    kObjectEnd = 9,
    kStrictArray = 10,
    kDate = 11,
    kLongString = 12,
    kUnsupported = 13,
};

constexpr int kDeepest = 32;
constexpr char kName[] = "onMetaData";

// Of a member's name in a message; a file may have one of 65535.
constexpr size_t kMostNameBytes = 64;

std::string Short(const std::string& name) {
    return name.size() <= kMostNameBytes ? name : name.substr(0, kMostNameBytes) + "...";
}

class Parser {
  public:
    Parser(ByteSpan data, Metadata* metadata) : mData(data), mMetadata(metadata) {}

    bool parseName() {
        std::string name;
        return number(1) == kString && text(2, &name) && name == kName;
    }
    // Result: whether it could be read to its end.
    bool parseValue(const std::string& name, int depth);

  private:
    uint64_t number(size_t size);
    bool text(size_t lengthSize, std::string* text);
    bool skip(uint64_t size);
    bool fail(size_t offset, std::string why);
    bool parseMembers(int depth);
    bool parseArray(const std::string& name, int depth);
    void take(const std::string& name, double value);

    const ByteSpan mData;
    Metadata* const mMetadata;
    size_t mOffset = 0;
    bool mIsShort = false;
};

bool Parser::fail(size_t offset, std::string why) {
    if (!mMetadata->error.empty()) return false;
    mMetadata->error = std::move(why);
    mMetadata->errorOffset = offset;
    return false;
}

bool Parser::skip(uint64_t size) {
    if (size > mData.size - mOffset || mIsShort) return fail(mOffset, "the tag ends inside a value");
    mOffset += static_cast<size_t>(size);
    return true;
}

uint64_t Parser::number(size_t size) {
    mIsShort = mIsShort || size > mData.size - mOffset;
    uint64_t value = 0;
    for (size_t i = 0; i < size && !mIsShort; ++i)
        value = value << 8 | mData[mOffset++];
    return value;
}

bool Parser::text(size_t lengthSize, std::string* text) {
    uint64_t length = number(lengthSize);
    size_t begin = mOffset;
    if (!skip(length)) return false;
    text->assign(reinterpret_cast<const char*>(mData.data) + begin, static_cast<size_t>(length));
    return true;
}

void Parser::take(const std::string& name, double value) {
    if (name == "duration") mMetadata->durationSeconds = value;
    if (name == "filepositions") mMetadata->positions.push_back(value);
    if (name == "times") mMetadata->times.push_back(value);
}

bool Parser::parseMembers(int depth) {
    for (;;) {
        std::string name;
        if (!text(2, &name)) return false;
        if (name.empty()) break;
        if (!parseValue(name, depth + 1)) return false;
    }
    size_t at = mOffset;
    return number(1) == kObjectEnd || fail(at, "an object does not end with its end marker");
}

bool Parser::parseArray(const std::string& name, int depth) {
    uint64_t count = number(4);
    for (uint64_t i = 0; i < count; ++i) {
        if (!parseValue(name, depth + 1)) return false;
    }
    return !mIsShort || skip(0);
}

bool Parser::parseValue(const std::string& name, int depth) {
    size_t at = mOffset;
    if (depth > kDeepest) return fail(at, fmt::format("values are nested deeper than {}", kDeepest));
    uint64_t marker = number(1);
    if (mIsShort) return skip(0);
    std::string ignored;
    switch (marker) {
        case kNumber: {
            uint64_t bits = number(8);
            double value;
            memcpy(&value, &bits, sizeof(value));
            if (mIsShort) return skip(0);
            take(name, value);
            return true;
        }
        case kBoolean:
            return skip(1);
        case kString:
            return text(2, &ignored);
        case kLongString:
            fail(at, fmt::format("the value of \"{}\" is a long string, at which the plug-in stops",
                                 Short(name)));
            return text(4, &ignored);
        case kEcmaArray:
            return skip(4) && parseMembers(depth);
        case kObject:
            return parseMembers(depth);
        case kStrictArray:
            return parseArray(name, depth);
        case kDate:
            return skip(10);
        case kReference:
            fail(at,
                 fmt::format("the value of \"{}\" is a reference, at which the plug-in stops", Short(name)));
            return skip(2);
        case kNull:
        case kUndefined:
        case kUnsupported:
            return true;
        default:
            return fail(at,
                        fmt::format("the value of \"{}\" has the unknown marker {}", Short(name), marker));
    }
}

}  // namespace

std::optional<Metadata> ParseMetadata(ByteSpan data) {
    Metadata metadata;
    Parser parser(data, &metadata);
    if (!parser.parseName()) return std::nullopt;
    parser.parseValue("", 0);
    return metadata;
}

std::optional<Metadata> ReadMetadata(TagChain& chain, const TagUnit& unit) {
    return ParseMetadata(chain.bytes(unit.dataOffset(), unit.dataSize));
}

}  // namespace orvel
