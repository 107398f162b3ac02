#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "simulator/kernel/KernelHub.h"
#include "tests/support/LogCapture.h"
#include "tests/support/OnlySensors.h"
#include "tools/proxy/HalProxyCallback.h"
#include "tools/proxy/SubHalLibrary.h"

namespace kernel_tests {

using android::hardware::sensors::V1_0::Event;
using android::hardware::sensors::V1_0::Result;
using simulator::KernelHub;
using simulator::KernelRequest;
using testing_support::LogCapture;

constexpr std::chrono::seconds kPatience{10};  // the guest is emulated, and its host is busy

/** One event as the proxy got it. */
struct Posted {
    Event event;
    bool wakelock;
    size_t together;  // events in the same call
};

/** Fourteen bytes: three axes, never zero, and the time. */
std::string axesRecord(uint64_t timestamp, int16_t x = 1);

/** The shipped library on the real devices of a hub. */
class KernelBench {
  public:
    explicit KernelBench(const std::vector<int>& handles);
    /** A hub of which the library is loaded by load(). */
    KernelBench() = default;
    ~KernelBench();

    /** @param initialize passes the proxy's callback; until then the library posts nothing */
    void load(bool initialize = true);
    void initialize();
    void unload();

    KernelHub& hub() { return mHub; }
    android::hardware::sensors::V2_0::implementation::ISensorsSubHal& hal() {
        return *mLibrary->subHal();
    }
    void activate(int handle, bool on = true);

    /** Waits for `count` events more than were taken; fewer on time-out. */
    std::vector<Posted> take(size_t count = 0);
    /** Time stamps of what take() gives. */
    std::vector<int64_t> times(size_t count);

    /** Delivers a record of three axes on a device that is active, and again, so that the poll
     *  thread has looked at every device since the call. */
    bool pass(int marker);
    /** Returns when the library has dealt with all that was pushed. */
    bool settle(int marker);
    /** Waits until nothing of the device is queued. */
    bool drained(int handle);
    /** Keeps the poll thread inside the proxy's callback, by a marker, until release(). */
    bool hold(int marker);
    void release();

  private:
    void post(const std::vector<Event>& events, bool wakelock);
    bool passOnce(int marker);

    LogCapture mLog;
    KernelHub mHub;
    std::mutex mMutex;
    std::condition_variable mChanged;
    std::vector<Posted> mPosted;  // guarded by mMutex
    bool mHeld = false;           // guarded by mMutex
    android::sp<host_proxy::HalProxyCallback> mProxy;
    std::optional<host_proxy::SubHalLibrary> mLibrary;
};

}  // namespace kernel_tests
