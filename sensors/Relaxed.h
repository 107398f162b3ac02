#pragma once

#include <atomic>

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/**
 * A scalar that two threads touch without a lock. A reader gets one of the values written, perhaps
 * not yet the newest, and nothing about other memory follows from it. Up to the machine's word size
 * a load or store is that of a plain variable; 64 bits on a 32-bit device take a little more.
 */
template <typename T>
class Relaxed {
  public:
    Relaxed() = default;
    Relaxed(T value) : mValue(value) {}  // NOLINT(google-explicit-constructor): reads as a T
    Relaxed(const Relaxed&) = delete;
    Relaxed& operator=(const Relaxed&) = delete;

    Relaxed& operator=(T value) {
        mValue.store(value, std::memory_order_relaxed);
        return *this;
    }
    operator T() const {  // NOLINT(google-explicit-constructor): reads as a T
        return mValue.load(std::memory_order_relaxed);
    }

  private:
    std::atomic<T> mValue{};
};

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
