// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <vector>

namespace orvel {

// A view of bytes that somebody else owns. A part is always checked against the whole: it holds what there
// is.
struct ByteSpan {
    const uint8_t* data = nullptr;
    size_t size = 0;

    ByteSpan() = default;
    ByteSpan(const uint8_t* bytes, size_t count) : data(bytes), size(count) {}
    ByteSpan(const std::vector<uint8_t>& bytes) : data(bytes.data()), size(bytes.size()) {}

    uint8_t operator[](size_t i) const { return data[i]; }
    ByteSpan from(size_t offset) const {
        return offset >= size ? ByteSpan() : ByteSpan(data + offset, size - offset);
    }
    ByteSpan first(size_t count) const { return ByteSpan(data, count < size ? count : size); }
};

}  // namespace orvel
