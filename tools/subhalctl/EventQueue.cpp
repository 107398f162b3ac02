#include "tools/subhalctl/EventQueue.h"

#include <algorithm>
#include <utility>

#include "tools/subhalctl/Interrupt.h"

namespace subhalctl {
namespace {

// A signal does not wake the queue, so waiting is cut into slices.
constexpr std::chrono::milliseconds kSlice{50};

}  // namespace

void EventQueue::push(const std::vector<Event>& events, bool wakelock) {
    {
        const std::lock_guard<std::mutex> lock(mLock);
        bool first = true;
        for (const Event& event : events) {
            mEvents.push_back({event, wakelock, wakelock && std::exchange(first, false)});
        }
    }
    mPushed.notify_one();
}

std::vector<ReceivedEvent> EventQueue::take(Clock::time_point deadline) {
    std::unique_lock<std::mutex> lock(mLock);
    mPushed.wait_until(lock, std::min(deadline, Clock::now() + kSlice),
                       [this] { return !mEvents.empty(); });
    return std::exchange(mEvents, {});
}

EventQueue::End EventQueue::receive(Clock::time_point deadline,
                                    const std::function<bool(const ReceivedEvent&)>& handle) {
    for (;;) {
        for (const ReceivedEvent& received : take(deadline)) {
            if (handle(received)) return End::kDone;
        }
        if (interrupted()) return End::kInterrupted;
        if (Clock::now() >= deadline) return End::kTimeout;
    }
}

}  // namespace subhalctl
