// The platform's mutex, which Singleton uses.
#pragma once

#include <pthread.h>

namespace android {

class Mutex {
  public:
    enum { PRIVATE = 0, SHARED = 1 };

    Mutex() { pthread_mutex_init(&mMutex, nullptr); }
    explicit Mutex(int /*type*/, const char* /*name*/ = nullptr) : Mutex() {}
    ~Mutex() { pthread_mutex_destroy(&mMutex); }
    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;

    /// 0, or a negative errno.
    int lock() { return -pthread_mutex_lock(&mMutex); }
    void unlock() { pthread_mutex_unlock(&mMutex); }
    int tryLock() { return -pthread_mutex_trylock(&mMutex); }

    class Autolock {
      public:
        explicit Autolock(Mutex& mutex) : mLock(mutex) { mLock.lock(); }
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
