#include "tools/proxy/HalProxyCallback.h"

#include <utils/SystemClock.h>

#include <utility>

namespace android::hardware::sensors::V2_0::implementation {

bool WakelockCounter::incrementRefCountAndMaybeAcquireWakelock(size_t delta,
                                                               int64_t* timeoutStart) {
    if (timeoutStart != nullptr) *timeoutStart = android::elapsedRealtimeNano();
    mTaken += static_cast<int>(delta);
    if (mHeld.fetch_add(static_cast<int>(delta)) == 0 && mObserver) mObserver(true);
    return true;
}

void WakelockCounter::decrementRefCountAndMaybeReleaseWakelock(size_t delta, int64_t) {
    const int held = static_cast<int>(delta);
    if (mHeld.fetch_sub(held) == held && mObserver) mObserver(false);
}

void HalProxyCallback::postEvents(const std::vector<Event>& events, ScopedWakelock wakelock) {
    if (mHandler) {
        mHandler(events, wakelock.isLocked());
        return;
    }
    const std::lock_guard<std::mutex> lock(mLock);
    mPosts.push_back({events, wakelock.isLocked()});
}

std::vector<HalProxyCallback::Post> HalProxyCallback::take() {
    const std::lock_guard<std::mutex> lock(mLock);
    return std::exchange(mPosts, {});
}

}  // namespace android::hardware::sensors::V2_0::implementation
