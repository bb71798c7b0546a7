// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>

#include <string>
#include <utility>
#include <vector>

#include "support/ByteSpan.h"

namespace orvel {

// A value of the Action Message Format, AMF 0 (Adobe, 2007).
struct AmfValue {
    enum class Type {
        kNumber,
        kBoolean,
        kString,  // short or long, as the file has its bytes
        kObject,  // or ECMA array
        kNull,    // or undefined, unsupported
        kReference,
        kArray,
        kDate,
    };
    using Member = std::pair<std::string, AmfValue>;

    Type type = Type::kNull;
    double number = 0;  // of a date: milliseconds since 1970, UTC; of a boolean: 0 or 1
    std::string text;
    std::vector<Member> members;   // in the file's order, with names that repeat
    std::vector<AmfValue> values;  // of an array whose values are not all numbers
    std::vector<double> numbers;   // of an array whose values all are

    // The last member of this name, as readers that overwrite have it; null when there is none.
    const AmfValue* find(const std::string& name) const;
};

// Why parsing ended before the data did, as a clause, and where in the data; empty when it did not.
struct AmfError {
    std::string text;
    size_t offset = 0;
};

// The values of a script tag's data, one after the other, at most three: a name, then what it names. What
// could be read before an error is kept. Nothing is taken that the data has no bytes for, so memory is at
// most some 100 times the data's size; nesting is at most 32.
std::vector<AmfValue> ParseAmf(ByteSpan data, AmfError* error);

}  // namespace orvel
