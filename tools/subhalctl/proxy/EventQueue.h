#pragma once

#include <V2_0/SubHal.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
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
    int64_t receivedNs;  ///< when the proxy got it, on the clock of the events' time stamps
    bool wakelock;       ///< a wakelock was held for it
    bool ownWakelock;    ///< and this event is the first of those it was taken for
};

/** Of at most some years. */
std::chrono::steady_clock::duration lengthOf(double seconds);

/** Queue between the library's threads and the main thread. */
class EventQueue {
  public:
    using Clock = std::chrono::steady_clock;
    enum class End { kDone, kTimeout, kInterrupted, kEnded };

    /** Limits the memory that a blocked reader costs. */
    static constexpr size_t kCapacity = 65536;

    void push(const std::vector<Event>& events, bool wakelock);

    /** Whether push() waits for room instead of dropping events. */
    void waitForRoom(bool wait = true);

    /**
     * Passes events to `handle`, on the calling thread, until it returns true, the deadline has
     * passed or the verb is to end. Events after the one that ended it stay in the queue.
     */
    End receive(Clock::time_point deadline,
                const std::function<bool(const ReceivedEvent&)>& handle);
    /** The same with a time from now in seconds, 0 for no limit. */
    End receiveFor(double seconds, const std::function<bool(const ReceivedEvent&)>& handle);

    /** No more events follow: receive() ends with kEnded after passing the rest. */
    void end() { mEnded = true; }

    /** No room is left. */
    bool full() const;

    /** Passes what has arrived. */
    void drain(const std::function<void(const ReceivedEvent&)>& handle);

    /** Events for which there was no room. */
    size_t overflowed() const { return mOverflowed; }

  private:
    std::vector<ReceivedEvent> take(Clock::time_point deadline);

    mutable std::mutex mLock;
    std::condition_variable mPushed;
    std::condition_variable mTaken;
    std::vector<ReceivedEvent> mEvents;  // guarded by mLock
    bool mWait = false;                  // guarded by mLock
    std::atomic<size_t> mOverflowed{0};
    std::atomic<bool> mEnded{false};
};

}  // namespace subhalctl
