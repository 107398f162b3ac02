#pragma once

#include <V2_0/SubHal.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <vector>

namespace subhalctl {

using android::hardware::sensors::V1_0::Event;
using android::hardware::sensors::V1_0::SensorInfo;

/** One event on its way from the library's poll thread to the command's main thread. */
struct ReceivedEvent {
    Event event;
    bool wakelock;     ///< a wakelock was held for it
    bool ownWakelock;  ///< and this event is the first of those it was taken for
};

/** Unbounded queue between the library's threads and the main thread. */
class EventQueue {
  public:
    using Clock = std::chrono::steady_clock;
    enum class End { kDone, kTimeout, kInterrupted };

    void push(const std::vector<Event>& events, bool wakelock);

    /**
     * Hands events to `handle`, on the calling thread, until it returns true, the deadline has
     * passed or Ctrl-C was pressed. Events behind the one that ended it are dropped.
     */
    End receive(Clock::time_point deadline,
                const std::function<bool(const ReceivedEvent&)>& handle);

  private:
    std::vector<ReceivedEvent> take(Clock::time_point deadline);

    std::mutex mLock;
    std::condition_variable mPushed;
    std::vector<ReceivedEvent> mEvents;  // guarded by mLock
};

/** Counts the holders of the proxy's one wakelock. Any thread. */
class WakelockCounter
    : public android::hardware::sensors::V2_0::implementation::IScopedWakelockRefCounter {
  public:
    bool incrementRefCountAndMaybeAcquireWakelock(size_t delta, int64_t* timeoutStart) override;
    void decrementRefCountAndMaybeReleaseWakelock(size_t delta, int64_t timeoutStart) override;

    /** Shares that have not been given back. */
    size_t held() const;

  private:
    mutable std::mutex mLock;
    size_t mHeld = 0;  // guarded by mLock
};

}  // namespace subhalctl

// The platform lets only its own HalProxyCallback make wakelocks, so this program's proxy is one.
namespace android::hardware::sensors::V2_0::implementation {

/** The proxy, as the library sees it. */
class HalProxyCallback : public IHalProxyCallback {
  public:
    ScopedWakelock createScopedWakelock(bool lock) override;
    void postEvents(const std::vector<Event>& events, ScopedWakelock wakelock) override;
    Return<void> onDynamicSensorsConnected(const hidl_vec<SensorInfo>& sensorInfos) override;
    Return<void> onDynamicSensorsDisconnected(const hidl_vec<int32_t>& sensorHandles) override;

    subhalctl::EventQueue& events() { return mEvents; }
    const subhalctl::WakelockCounter& wakelocks() const { return mWakelocks; }

  private:
    subhalctl::EventQueue mEvents;
    subhalctl::WakelockCounter mWakelocks;
};

}  // namespace android::hardware::sensors::V2_0::implementation
