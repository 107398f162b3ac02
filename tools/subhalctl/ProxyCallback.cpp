#include "tools/subhalctl/ProxyCallback.h"

#include <utils/SystemClock.h>

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

bool WakelockCounter::incrementRefCountAndMaybeAcquireWakelock(size_t delta,
                                                               int64_t* timeoutStart) {
    if (timeoutStart != nullptr) *timeoutStart = android::elapsedRealtimeNano();
    const std::lock_guard<std::mutex> lock(mLock);
    mHeld += delta;
    return true;
}

void WakelockCounter::decrementRefCountAndMaybeReleaseWakelock(size_t delta, int64_t) {
    const std::lock_guard<std::mutex> lock(mLock);
    mHeld -= std::min(mHeld, delta);
}

size_t WakelockCounter::held() const {
    const std::lock_guard<std::mutex> lock(mLock);
    return mHeld;
}

}  // namespace subhalctl

namespace android::hardware::sensors::V2_0::implementation {

ScopedWakelock HalProxyCallback::createScopedWakelock(bool lock) {
    return ScopedWakelock(&mWakelocks, lock);
}

void HalProxyCallback::postEvents(const std::vector<Event>& events, ScopedWakelock wakelock) {
    mEvents.push(events, wakelock.isLocked());
}

Return<void> HalProxyCallback::onDynamicSensorsConnected(const hidl_vec<SensorInfo>&) {
    return Void();
}

Return<void> HalProxyCallback::onDynamicSensorsDisconnected(const hidl_vec<int32_t>&) {
    return Void();
}

}  // namespace android::hardware::sensors::V2_0::implementation
