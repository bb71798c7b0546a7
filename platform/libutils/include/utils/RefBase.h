// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>

#include <atomic>

#include <utils/StrongPointer.h>

namespace android {

// Base of every object that is shared by counting references. Objects are made with `new`, start with no
// reference, are held by sp<T> (<utils/StrongPointer.h>), and delete themselves when the last reference goes.
// The destructor of a subclass should be protected, so that nothing else can delete the object.
//
// May be a virtual base. An object may be made in one library and given up in another: deletion goes through
// the virtual destructor.
//
// A constructor must not make an sp of `this` that it does not keep: giving that one up would delete the
// half-made object. onFirstRef is the place for such work.
class RefBase {
  public:
    RefBase(const RefBase&) = delete;
    RefBase& operator=(const RefBase&) = delete;

    // Take and give up one reference, from any thread. id names the holder and is not used here. Everything
    // that any holder did to the object before giving it up happens before its destructor. Giving up a
    // reference that nobody holds ends the process with a fatal log line.
    void incStrong(const void* /*id*/) const {
        if (mStrong.fetch_add(1, std::memory_order_relaxed) == 0) const_cast<RefBase*>(this)->onFirstRef();
    }

    // The holder of the only reference has nobody to count against, and there is no weak kind: no need then
    // for an operation that keeps other processors out.
    void decStrong(const void* /*id*/) const {
        if (mStrong.load(std::memory_order_acquire) == 1) return lastReferenceGone(1);
        const int32_t previous = mStrong.fetch_sub(1, std::memory_order_acq_rel);
        if (previous <= 1) lastReferenceGone(previous);
    }

    // References at this instant, for diagnosis: other threads may change it at any time.
    int32_t getStrongCount() const { return mStrong.load(std::memory_order_relaxed); }

  protected:
    RefBase();
    virtual ~RefBase();

    // Called once, after the first reference was taken, when the object is completely constructed.
    virtual void onFirstRef();

  private:
    void lastReferenceGone(int32_t previous) const;

    mutable std::atomic<int32_t> mStrong;
};

}  // namespace android
