// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

#include <type_traits>
#include <vector>

#include <utils/Errors.h>

namespace android {

// A growable array. Copies are deep. Indices must be less than size() unless a function says that it checks;
// pointers, references and iterators to items hold until the next call that adds or removes one. Running out
// of memory ends the process. Not synchronised.
template <class TYPE>
class Vector {
    static_assert(!std::is_same<TYPE, bool>::value, "items must be addressable");

  public:
    typedef TYPE value_type;
    typedef TYPE* iterator;
    typedef const TYPE* const_iterator;

    size_t size() const { return mItems.size(); }
    bool isEmpty() const { return mItems.empty(); }

    // Items that fit before the storage grows. setCapacity only ever grows it; result: the capacity.
    size_t capacity() const { return mItems.capacity(); }
    ssize_t setCapacity(size_t size) {
        mItems.reserve(size);
        return static_cast<ssize_t>(mItems.capacity());
    }

    void clear() { mItems.clear(); }

    // The items one after another; may be null when there are none.
    const TYPE* array() const { return mItems.data(); }
    TYPE* editArray() { return mItems.data(); }

    const TYPE& operator[](size_t index) const { return mItems[index]; }
    const TYPE& itemAt(size_t index) const { return mItems[index]; }
    TYPE& editItemAt(size_t index) { return mItems[index]; }

    // The last item; there must be one.
    const TYPE& top() const { return mItems.back(); }
    TYPE& editTop() { return mItems.back(); }

    // Append a copy (the item may be one of this vector's own). add returns its index.
    ssize_t add(const TYPE& item) {
        mItems.push_back(item);
        return static_cast<ssize_t>(mItems.size() - 1);
    }
    void push(const TYPE& item) { mItems.push_back(item); }
    void push_back(const TYPE& item) { mItems.push_back(item); }

    // Appends copies of items that are not this vector's own. Result: the index of the first.
    ssize_t appendArray(const TYPE* items, size_t length) {
        const size_t index = mItems.size();
        mItems.insert(mItems.end(), items, items + length);
        return static_cast<ssize_t>(index);
    }

    // Removes the last item; there must be one.
    void pop() { mItems.pop_back(); }

    // Removes one item. Result: its index, or BAD_VALUE when there is no such item.
    ssize_t removeAt(size_t index) {
        if (index >= mItems.size()) return BAD_VALUE;
        mItems.erase(mItems.begin() + static_cast<ssize_t>(index));
        return static_cast<ssize_t>(index);
    }

    iterator begin() { return mItems.data(); }
    iterator end() { return mItems.data() + mItems.size(); }
    const_iterator begin() const { return mItems.data(); }
    const_iterator end() const { return mItems.data() + mItems.size(); }

  private:
    std::vector<TYPE> mItems;
};

}  // namespace android
