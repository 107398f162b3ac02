// The wakelock that keeps the device awake while events travel to the framework.
#pragma once

#include <cstddef>
#include <cstdint>

#include <utils/RefBase.h>

namespace android::hardware::sensors::V2_0::implementation {

/// Counts the holders of the one wakelock. The proxy implements it; any thread may call.
class IScopedWakelockRefCounter : public RefBase {
  public:
    /// Adds delta holders and takes the wakelock for the first. Stores the time (ns) of the call
    /// where timeoutStart points. Returns whether the wakelock is held.
    virtual bool incrementRefCountAndMaybeAcquireWakelock(size_t delta,
                                                          int64_t* timeoutStart = nullptr) = 0;

    /// Takes delta holders away and drops the wakelock with the last. A timeoutStart that lies
    /// before the latest time-out is stale and changes nothing; -1 always counts.
    virtual void decrementRefCountAndMaybeReleaseWakelock(size_t delta,
                                                          int64_t timeoutStart = -1) = 0;
};

class HalProxyCallbackBase;
class ScopedWakelockTest;

/// A share in the wakelock, or an empty one (not locked). Only the proxy's callback makes them;
/// destruction gives the share back. The counter outlives it.
class ScopedWakelock {
  public:
    ScopedWakelock(ScopedWakelock&& other) noexcept;
    ScopedWakelock& operator=(ScopedWakelock&& other) noexcept;
    virtual ~ScopedWakelock();
    ScopedWakelock(const ScopedWakelock&) = delete;
    ScopedWakelock& operator=(const ScopedWakelock&) = delete;

    bool isLocked() const { return mLocked; }

  private:
    friend class HalProxyCallbackBase;
    friend class ScopedWakelockTest;

    ScopedWakelock(IScopedWakelockRefCounter* refCounter, bool locked);
    void release();

    IScopedWakelockRefCounter* mRefCounter;
    int64_t mCreatedAtTimeNs = 0;
    bool mLocked;
};

}  // namespace android::hardware::sensors::V2_0::implementation
