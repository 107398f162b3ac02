#include <V2_0/ScopedWakelock.h>

#include <utility>

namespace android::hardware::sensors::V2_0::implementation {

ScopedWakelock::ScopedWakelock(IScopedWakelockRefCounter* refCounter, bool locked)
    : mRefCounter(refCounter), mLocked(locked) {
    if (mLocked) {
        mLocked = mRefCounter->incrementRefCountAndMaybeAcquireWakelock(1, &mCreatedAtTimeNs);
    }
}

ScopedWakelock::ScopedWakelock(ScopedWakelock&& other) noexcept
    : mRefCounter(other.mRefCounter),
      mCreatedAtTimeNs(other.mCreatedAtTimeNs),
      mLocked(std::exchange(other.mLocked, false)) {}

ScopedWakelock& ScopedWakelock::operator=(ScopedWakelock&& other) noexcept {
    if (this != &other) {
        release();
        mRefCounter = other.mRefCounter;
        mCreatedAtTimeNs = other.mCreatedAtTimeNs;
        mLocked = std::exchange(other.mLocked, false);
    }
    return *this;
}

ScopedWakelock::~ScopedWakelock() {
    release();
}

void ScopedWakelock::release() {
    if (std::exchange(mLocked, false)) {
        mRefCounter->decrementRefCountAndMaybeReleaseWakelock(1, mCreatedAtTimeNs);
    }
}

}  // namespace android::hardware::sensors::V2_0::implementation
