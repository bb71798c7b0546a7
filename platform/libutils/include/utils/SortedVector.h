// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

#include <algorithm>
#include <vector>

#include <utils/Errors.h>

namespace android {

// A set kept in ascending order of TYPE's operator<. Two items are equal when neither is less than the other.
// Look-up is a binary search; indices run from 0 to size() - 1, and adding an item moves those behind it.
// Copies are deep. Not synchronised.
template <class TYPE>
class SortedVector {
  public:
    typedef TYPE value_type;

    size_t size() const { return mItems.size(); }
    bool isEmpty() const { return mItems.empty(); }
    void clear() { mItems.clear(); }

    // The item at an index less than size(). Items are never changed in place: that could break the order.
    const TYPE& operator[](size_t index) const { return mItems[index]; }
    const TYPE& itemAt(size_t index) const { return mItems[index]; }

    // The index of the item equal to this one, or NAME_NOT_FOUND.
    ssize_t indexOf(const TYPE& item) const {
        const auto place = std::lower_bound(mItems.begin(), mItems.end(), item);
        if (place == mItems.end() || item < *place) return NAME_NOT_FOUND;
        return place - mItems.begin();
    }

    // Puts a copy of the item in its place. An equal item that is already there is left alone. Result: the
    // index of the item in either case.
    ssize_t add(const TYPE& item) {
        auto place = std::lower_bound(mItems.begin(), mItems.end(), item);
        if (place == mItems.end() || item < *place) place = mItems.insert(place, item);
        return place - mItems.begin();
    }

  private:
    std::vector<TYPE> mItems;
};

}  // namespace android
