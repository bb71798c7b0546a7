// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <pthread.h>

#include <utils/Errors.h>

namespace android {

// Mutual exclusion among the threads of this process. Not recursive: locking it twice from one thread blocks
// for ever. Must be unlocked by the thread that locked it, and be unlocked when destroyed.
class Mutex {
  public:
    Mutex() { pthread_mutex_init(&mMutex, nullptr); }
    ~Mutex() { pthread_mutex_destroy(&mMutex); }
    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;

    // Waits until the mutex is free and takes it. Result: OK, or a negative error code.
    status_t lock() { return -pthread_mutex_lock(&mMutex); }
    void unlock() { pthread_mutex_unlock(&mMutex); }

    // Takes the mutex if it is free. Result: OK, or -EBUSY when another holds it.
    status_t tryLock() { return -pthread_mutex_trylock(&mMutex); }

    // Holds a mutex from its construction to the end of its scope. The mutex must outlive it; the pointer is
    // never null.
    class Autolock {
      public:
        explicit Autolock(Mutex& mutex) : mLock(mutex) { mLock.lock(); }
        explicit Autolock(Mutex* mutex) : mLock(*mutex) { mLock.lock(); }
        ~Autolock() { mLock.unlock(); }
        Autolock(const Autolock&) = delete;
        Autolock& operator=(const Autolock&) = delete;

      private:
        Mutex& mLock;
    };

  private:
    pthread_mutex_t mMutex;
};

}  // namespace android
