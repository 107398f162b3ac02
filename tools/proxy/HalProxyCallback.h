#pragma once

#include <V2_0/SubHal.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <mutex>
#include <utility>
#include <vector>

// The platform lets only its own HalProxyCallbackBase make wakelocks, so the host's proxy has one.
namespace android::hardware::sensors::V2_0::implementation {

/** Counts the shares in the proxy's one wakelock. Any thread. */
class WakelockCounter : public IScopedWakelockRefCounter {
  public:
    bool incrementRefCountAndMaybeAcquireWakelock(size_t delta, int64_t* timeoutStart) override;
    void decrementRefCountAndMaybeReleaseWakelock(size_t delta, int64_t timeoutStart) override;

    /** Shares ever given out, and those that have not come back. */
    int taken() const { return mTaken; }
    int held() const { return mHeld; }

    /** Before the library has it. `observer` sees the first share taken, the last back. */
    void observe(std::function<void(bool held)> observer) { mObserver = std::move(observer); }

  private:
    std::function<void(bool held)> mObserver;
    std::atomic<int> mTaken{0};
    std::atomic<int> mHeld{0};
};

/** The maker of the proxy's wakelocks. Any thread. */
class HalProxyCallbackBase : public IHalProxyCallback {
  public:
    ScopedWakelock createScopedWakelock(bool lock) override {
        return ScopedWakelock(&mWakelock, lock);
    }
    WakelockCounter& wakelock() { return mWakelock; }

  private:
    WakelockCounter mWakelock;
};

/** What a library sees of the proxy. Any thread. */
class HalProxyCallback : public HalProxyCallbackBase {
  public:
    /** Events that came in one call. */
    struct Post {
        std::vector<Event> events;
        bool wakelock;
    };
    using Handler = std::function<void(const std::vector<Event>& events, bool wakelock)>;

    /** Keeps all posts for take(). */
    HalProxyCallback() = default;
    /** Keeps none: `handler` gets each on the library's thread, while its wakelock is held. */
    explicit HalProxyCallback(Handler handler) : mHandler(std::move(handler)) {}

    void postEvents(const std::vector<Event>& events, ScopedWakelock wakelock) override;
    Return<void> onDynamicSensorsConnected(const hidl_vec<SensorInfo>&) override { return Void(); }
    Return<void> onDynamicSensorsDisconnected(const hidl_vec<int32_t>&) override { return Void(); }

    std::vector<Post> take();

  private:
    const Handler mHandler;
    std::mutex mLock;
    std::vector<Post> mPosts;  // guarded by mLock
};

}  // namespace android::hardware::sensors::V2_0::implementation
