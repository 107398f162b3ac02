#pragma once

#include <android/hardware/sensors/1.0/types.h>

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

}  // namespace subhalctl
