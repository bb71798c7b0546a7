// SPDX-License-Identifier: Apache-2.0
#include "flv/Amf0.h"

#include <fmt/format.h>
#include <string.h>

#include <algorithm>

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

// A name and its value, and one more in what encoders send to servers.
constexpr size_t kNeededValues = 2, kMostValues = 3;
constexpr size_t kNumberSize = 8, kTimeZoneSize = 2;

// Of a member's name in a message; a file may have one of 65535.
constexpr size_t kMostNameBytes = 64;

std::string Short(const std::string& name) {
    return name.size() <= kMostNameBytes ? name : name.substr(0, kMostNameBytes) + "...";
}

class Parser {
  public:
    Parser(ByteSpan data, AmfError* error) : mData(data), mError(error) {}

    bool atEnd() const { return mOffset == mData.size; }
    // Result of each: whether it could be read to its end.
    bool parse(const std::string& name, int depth, AmfValue* value);

  private:
    bool fail(size_t offset, std::string why);
    bool integer(size_t size, uint64_t* value);
    bool number(double* value);
    bool text(size_t lengthSize, std::string* text);
    bool parseMembers(int depth, AmfValue* value);
    bool parseArray(const std::string& name, int depth, AmfValue* value);
    bool parseOf(uint64_t marker, const std::string& name, int depth, AmfValue* value);

    const ByteSpan mData;
    AmfError* const mError;
    size_t mOffset = 0;
};

bool Parser::fail(size_t offset, std::string why) {
    if (mError->text.empty()) *mError = {std::move(why), offset};
    return false;
}

bool Parser::integer(size_t size, uint64_t* value) {
    *value = 0;
    if (size > mData.size - mOffset) return fail(mOffset, "the tag ends inside a value");
    for (size_t i = 0; i < size; ++i)
        *value = *value << 8 | mData[mOffset++];
    return true;
}

bool Parser::number(double* value) {
    uint64_t bits;
    if (!integer(kNumberSize, &bits)) return false;
    memcpy(value, &bits, sizeof(*value));
    return true;
}

bool Parser::text(size_t lengthSize, std::string* text) {
    uint64_t length;
    if (!integer(lengthSize, &length)) return false;
    if (length > mData.size - mOffset) return fail(mOffset, "the tag ends inside a value");
    text->assign(reinterpret_cast<const char*>(mData.data) + mOffset, static_cast<size_t>(length));
    mOffset += static_cast<size_t>(length);
    return true;
}

bool Parser::parseMembers(int depth, AmfValue* value) {
    value->type = AmfValue::Type::kObject;
    for (;;) {
        std::string name;
        if (!text(2, &name)) return false;
        if (name.empty()) break;
        value->members.emplace_back(name, AmfValue());
        if (!parse(name, depth + 1, &value->members.back().second)) return false;
    }
    size_t at = mOffset;
    uint64_t end;
    if (!integer(1, &end)) return false;
    return end == kObjectEnd || fail(at, "an object does not end with its end marker");
}

// Nearly all arrays are of numbers, with an index's thousands; these are kept as such.
bool Parser::parseArray(const std::string& name, int depth, AmfValue* value) {
    value->type = AmfValue::Type::kArray;
    uint64_t count;
    if (!integer(4, &count)) return false;
    for (uint64_t i = 0; i < count; ++i) {
        AmfValue item;
        bool isWhole = parse(name, depth + 1, &item);
        if (isWhole && item.type == AmfValue::Type::kNumber && value->values.empty()) {
            value->numbers.push_back(item.number);
            continue;
        }
        for (double before : value->numbers) {
            value->values.emplace_back();
            value->values.back().type = AmfValue::Type::kNumber;
            value->values.back().number = before;
        }
        value->numbers.clear();
        if (isWhole) value->values.push_back(std::move(item));
        if (!isWhole) return false;
    }
    return true;
}

bool Parser::parseOf(uint64_t marker, const std::string& name, int depth, AmfValue* value) {
    size_t at = mOffset - 1;
    uint64_t bits = 0;
    switch (marker) {
        case kNumber:
            value->type = AmfValue::Type::kNumber;
            return number(&value->number);
        case kBoolean:
            value->type = AmfValue::Type::kBoolean;
            if (!integer(1, &bits)) return false;
            value->number = bits != 0 ? 1 : 0;
            return true;
        case kLongString:
            fail(at, fmt::format("the value of \"{}\" is a long string, at which the plug-in stops",
                                 Short(name)));
            [[fallthrough]];
        case kString:
            value->type = AmfValue::Type::kString;
            return text(marker == kString ? 2 : 4, &value->text);
        case kEcmaArray:
            return integer(4, &bits) && parseMembers(depth, value);
        case kObject:
            return parseMembers(depth, value);
        case kStrictArray:
            return parseArray(name, depth, value);
        case kDate:
            value->type = AmfValue::Type::kDate;
            return number(&value->number) && integer(kTimeZoneSize, &bits);
        case kReference:
            fail(at,
                 fmt::format("the value of \"{}\" is a reference, at which the plug-in stops", Short(name)));
            value->type = AmfValue::Type::kReference;
            return integer(2, &bits);
        case kNull:
        case kUndefined:
        case kUnsupported:
            return true;
        default:
            return fail(at,
                        fmt::format("the value of \"{}\" has the unknown marker {}", Short(name), marker));
    }
}

bool Parser::parse(const std::string& name, int depth, AmfValue* value) {
    if (depth > kDeepest) return fail(mOffset, fmt::format("values are nested deeper than {}", kDeepest));
    uint64_t marker;
    return integer(1, &marker) && parseOf(marker, name, depth, value);
}

}  // namespace

const AmfValue* AmfValue::find(const std::string& name) const {
    auto found = std::find_if(members.rbegin(), members.rend(),
                              [&name](const Member& member) { return member.first == name; });
    return found == members.rend() ? nullptr : &found->second;
}

std::vector<AmfValue> ParseAmf(ByteSpan data, AmfError* error) {
    std::vector<AmfValue> values;
    Parser parser(data, error);
    while (!parser.atEnd() && values.size() < kMostValues) {
        values.emplace_back();
        if (parser.parse("", 0, &values.back())) continue;
        // Some writers pad their tags, or end them twice.
        if (values.size() > kNeededValues) {
            values.pop_back();
            *error = AmfError();
        }
        break;
    }
    return values;
}

}  // namespace orvel
