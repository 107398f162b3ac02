#pragma once

#include <V2_0/SubHal.h>

#include <atomic>
#include <functional>
#include <mutex>
#include <vector>

#include "simulator/HostedLibrary.h"
#include "simulator/SimulatedHub.h"
#include "tests/support/LogCapture.h"

// The platform lets only its own HalProxyCallback make wakelocks, so the tests' proxy is one.
namespace android::hardware::sensors::V2_0::implementation {

/** Counts the proxy's wakelock. */
class WakelockCounter : public IScopedWakelockRefCounter {
  public:
    bool incrementRefCountAndMaybeAcquireWakelock(size_t delta, int64_t* timeoutStart) override;
    void decrementRefCountAndMaybeReleaseWakelock(size_t delta, int64_t timeoutStart) override;

    int taken() const { return mTaken; }
    int held() const { return mHeld; }

  private:
    std::atomic<int> mTaken{0};
    std::atomic<int> mHeld{0};
};

class HalProxyCallback : public IHalProxyCallback {
  public:
    struct Post {
        std::vector<Event> events;
        bool wakelock;
    };

    ScopedWakelock createScopedWakelock(bool lock) override {
        return ScopedWakelock(&mWakelock, lock);
    }
    void postEvents(const std::vector<Event>& events, ScopedWakelock wakelock) override;
    Return<void> onDynamicSensorsConnected(const hidl_vec<SensorInfo>& infos) override;
    Return<void> onDynamicSensorsDisconnected(const hidl_vec<int32_t>& handles) override;

    std::vector<Post> take();
    const WakelockCounter& wakelock() const { return mWakelock; }

  private:
    std::mutex mLock;
    std::vector<Post> mPosts;
    WakelockCounter mWakelock;
};

}  // namespace android::hardware::sensors::V2_0::implementation

namespace testing_support {

using android::hardware::sensors::V2_0::implementation::HalProxyCallback;
using android::hardware::sensors::V2_0::implementation::ISensorsSubHal;

/** The shipped library, loaded as the proxy loads it, on a hub without signals of its own. */
class LoadedSubHal {
  public:
    using Options = simulator::SimulatedHub::Options;

    /** @param prepare runs on the hub before the library is loaded */
    explicit LoadedSubHal(const Options& options = {},
                          const std::function<void(simulator::SimulatedHub&)>& prepare = {});

    simulator::SimulatedHub& hub() { return mHub; }
    ISensorsSubHal& hal() { return *mHal; }
    HalProxyCallback& proxy() { return *mProxy; }
    simulator::HostedLibrary& library() { return mLibrary; }

    /** Hands the proxy's callback over and forgets the log so far. */
    void initialize();

    /** Queues a record and waits until the library has dealt with it. */
    bool deliver(int handle, const std::string& record);

    /** Timestamps of the events that the proxy got since the last call, and of what is delivered.
     */
    std::vector<int64_t> timestamps();
    std::vector<int64_t> timestamps(int handle, const std::string& record);

    /** Ends the library; its destructor's log can be read afterwards. */
    bool unload();

  private:
    LogCapture mLog;
    simulator::SimulatedHub mHub;
    android::sp<HalProxyCallback> mProxy;
    simulator::HostedLibrary mLibrary;
    ISensorsSubHal* mHal = nullptr;
};

/** A hub that has only these sensors, with plausible values in every field. */
LoadedSubHal::Options onlySensors(const std::vector<int>& handles);

}  // namespace testing_support
