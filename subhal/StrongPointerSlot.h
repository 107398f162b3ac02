#pragma once

#include <utils/StrongPointer.h>

#include <mutex>
#include <utility>

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/**
 * A strong pointer that one thread may replace while others copy it. The lock is held for the
 * pointer's copy alone, never while a referenced object runs.
 */
template <typename T>
class StrongPointerSlot {
  public:
    /** Replaces the pointer; the previous one is released outside the lock. */
    void set(sp<T> pointer) {
        const std::lock_guard<std::mutex> lock(mLock);
        std::swap(mPointer, pointer);
    }

    sp<T> get() const {
        const std::lock_guard<std::mutex> lock(mLock);
        return mPointer;
    }

  private:
    mutable std::mutex mLock;
    sp<T> mPointer;  // guarded by mLock
};

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
