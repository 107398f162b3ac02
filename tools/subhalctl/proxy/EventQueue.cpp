#include "tools/subhalctl/proxy/EventQueue.h"

#include <algorithm>
#include <utility>

#include "tools/subhalctl/Interrupt.h"
#include "tools/subhalctl/hubs/PlatformHooks.h"

namespace subhalctl {
namespace {

// A signal does not wake the queue, so waiting is cut into slices.
constexpr std::chrono::milliseconds kSlice{50};

}  // namespace

std::chrono::steady_clock::duration lengthOf(double seconds) {
    return std::chrono::duration_cast<EventQueue::Clock::duration>(
        std::chrono::duration<double>(seconds));
}

void EventQueue::push(const std::vector<Event>& events, bool wakelock) {
    const int64_t now = hubNowNs();
    {
        std::unique_lock<std::mutex> lock(mLock);
        mTaken.wait(lock, [this] { return !mWait || mEvents.size() < kCapacity; });
        for (const Event& event : events) {
            if (mEvents.size() < kCapacity) {
                mEvents.push_back({event, now, wakelock, wakelock && &event == events.data()});
            } else {
                ++mOverflowed;
            }
        }
    }
    mPushed.notify_one();
}

std::vector<ReceivedEvent> EventQueue::take(Clock::time_point deadline) {
    std::unique_lock<std::mutex> lock(mLock);
    mPushed.wait_until(lock, std::min(deadline, Clock::now() + kSlice),
                       [this] { return !mEvents.empty(); });
    mTaken.notify_all();
    return std::exchange(mEvents, {});
}

void EventQueue::waitForRoom(bool wait) {
    const std::lock_guard<std::mutex> lock(mLock);
    mWait = wait;
    mTaken.notify_all();
}

EventQueue::End EventQueue::receive(Clock::time_point deadline,
                                    const std::function<bool(const ReceivedEvent&)>& handle) {
    for (;;) {
        const bool last = mEnded;
        const auto events = take(deadline);
        for (auto next = events.begin(); next != events.end();) {
            const bool done = handle(*next++);
            if (!done && !interrupted()) continue;
            const std::lock_guard<std::mutex> lock(mLock);
            mEvents.insert(mEvents.begin(), next, events.end());
            return done ? End::kDone : End::kInterrupted;
        }
        if (interrupted()) return End::kInterrupted;
        if (last) return End::kEnded;
        if (Clock::now() >= deadline) return End::kTimeout;
    }
}

EventQueue::End EventQueue::receiveFor(double seconds,
                                       const std::function<bool(const ReceivedEvent&)>& handle) {
    if (seconds <= 0) return receive(Clock::time_point::max(), handle);
    return receive(Clock::now() + lengthOf(seconds), handle);
}

void EventQueue::drain(const std::function<void(const ReceivedEvent&)>& handle) {
    for (const ReceivedEvent& received : take(Clock::now())) {
        handle(received);
    }
}

bool EventQueue::full() const {
    const std::lock_guard<std::mutex> lock(mLock);
    return mEvents.size() >= kCapacity;
}

}  // namespace subhalctl
