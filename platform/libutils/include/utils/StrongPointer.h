// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>

namespace android {

// A strong pointer: holds one strong reference to a T for as long as it points to it. T is any class with
// incStrong(const void*) and decStrong(const void*), in practice a subclass of RefBase; it may be incomplete
// where only sp<T> is named. Conversions follow those of the plain pointers.
//
// One sp may be read by several threads at once; writing it needs the caller's own exclusion. Different sp of
// one object are independent of each other.
template <typename T>
class sp {
  public:
    sp() noexcept : mPtr(nullptr) {}

    // Takes a new reference. The first one that an object ever gets makes it managed: it is deleted when the
    // last is given up, so it must come from `new`.
    sp(T* other) : mPtr(other) { acquire(); }
    sp(const sp& other) : mPtr(other.mPtr) { acquire(); }
    template <typename U>
    sp(U* other) : mPtr(other) {
        acquire();
    }
    template <typename U>
    sp(const sp<U>& other) : mPtr(other.mPtr) {
        acquire();
    }

    // Takes over the other's reference; the other is null afterwards. Costs no counting.
    sp(sp&& other) noexcept : mPtr(other.detach()) {}
    template <typename U>
    sp(sp<U>&& other) noexcept : mPtr(other.detach()) {}

    ~sp() { release(mPtr); }

    // The new object is referenced before the old one is given up, so assigning an object that only the old
    // one keeps alive is safe, and so is assigning to itself.
    sp& operator=(const sp& other) { return replace(sp(other)); }
    sp& operator=(sp&& other) noexcept { return replace(sp(static_cast<sp&&>(other))); }
    sp& operator=(T* other) { return replace(sp(other)); }
    template <typename U>
    sp& operator=(const sp<U>& other) {
        return replace(sp(other));
    }
    template <typename U>
    sp& operator=(sp<U>&& other) {
        return replace(sp(static_cast<sp<U>&&>(other)));
    }
    template <typename U>
    sp& operator=(U* other) {
        return replace(sp(other));
    }

    // Gives up the reference; null afterwards.
    void clear() { replace(sp()); }

    // The object, still owned by this sp, or null. * and -> need a non-null sp.
    T* get() const { return mPtr; }
    T& operator*() const { return *mPtr; }
    T* operator->() const { return mPtr; }

  private:
    template <typename U>
    friend class sp;

    void acquire() const {
        if (mPtr != nullptr) mPtr->incStrong(this);
    }

    void release(T* ptr) const {
        if (ptr != nullptr) ptr->decStrong(this);
    }

    T* detach() noexcept {
        T* const ptr = mPtr;
        mPtr = nullptr;
        return ptr;
    }

    sp& replace(sp&& other) noexcept {
        T* const old = mPtr;
        mPtr = other.detach();
        release(old);
        return *this;
    }

    T* mPtr;
};

// Comparisons are those of the plain pointers (of a common base where the types differ).
template <typename T, typename U>
inline bool operator==(const sp<T>& a, const sp<U>& b) {
    return a.get() == b.get();
}
template <typename T, typename U>
inline bool operator!=(const sp<T>& a, const sp<U>& b) {
    return a.get() != b.get();
}
template <typename T, typename U>
inline bool operator==(const sp<T>& a, const U* b) {
    return a.get() == b;
}
template <typename T, typename U>
inline bool operator!=(const sp<T>& a, const U* b) {
    return a.get() != b;
}
template <typename T, typename U>
inline bool operator==(const U* a, const sp<T>& b) {
    return a == b.get();
}
template <typename T, typename U>
inline bool operator!=(const U* a, const sp<T>& b) {
    return a != b.get();
}
template <typename T>
inline bool operator==(const sp<T>& a, std::nullptr_t) {
    return a.get() == nullptr;
}
template <typename T>
inline bool operator!=(const sp<T>& a, std::nullptr_t) {
    return a.get() != nullptr;
}
template <typename T>
inline bool operator==(std::nullptr_t, const sp<T>& b) {
    return b.get() == nullptr;
}
template <typename T>
inline bool operator!=(std::nullptr_t, const sp<T>& b) {
    return b.get() != nullptr;
}

}  // namespace android
