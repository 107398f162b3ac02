// A client of the sub-HAL (here: whether the device lies face up) and its test, without a device.
#include <V2_0/SubHal.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>

#include "simulator/HostedLibrary.h"
#include "simulator/RecordBuilder.h"
#include "simulator/SimulatedHub.h"

// Only the proxy's own class may make wakelocks, so a client that plays the proxy bears its name.
namespace android::hardware::sensors::V2_0::implementation {

class NoWakelock : public IScopedWakelockRefCounter {
    bool incrementRefCountAndMaybeAcquireWakelock(size_t, int64_t*) override { return true; }
    void decrementRefCountAndMaybeReleaseWakelock(size_t, int64_t) override {}
};

class HalProxyCallbackBase : public IHalProxyCallbackBase {
  public:
    bool isFaceUp() const { return mFaceUp; }

    void postEvents(const std::vector<Event>& events, ScopedWakelock) override {
        for (const Event& event : events) {
            if (event.sensorType == V1_0::SensorType::ACCELEROMETER)
                mFaceUp = event.u.vec3.z > 9.0f;
        }
    }
    ScopedWakelock createScopedWakelock(bool lock) override {
        return ScopedWakelock(&mWakelock, lock);
    }
    Return<void> onDynamicSensorsConnected(const hidl_vec<SensorInfo>&) override { return Void(); }
    Return<void> onDynamicSensorsDisconnected(const hidl_vec<int32_t>&) override { return Void(); }

  private:
    NoWakelock mWakelock;
    std::atomic<bool> mFaceUp{false};
};

}  // namespace android::hardware::sensors::V2_0::implementation

namespace {

using android::sp;
using android::hardware::sensors::V2_0::implementation::HalProxyCallbackBase;
using android::hardware::sensors::V2_0::implementation::ISensorsSubHal;

constexpr int kAccelerometer = 1;

void expect(bool condition, const char* what) {
    if (condition) return;
    std::fprintf(stderr, "failed: %s\n", what);
    std::exit(EXIT_FAILURE);
}

}  // namespace

int main() {
    simulator::SimulatedHub hub;
    simulator::HostedLibrary library(hub, SUBHAL);
    expect(library.entryPoint() != nullptr, library.error().c_str());

    uint32_t version = 0;
    ISensorsSubHal* subHal =
        reinterpret_cast<ISensorsSubHal* (*)(uint32_t*)>(library.entryPoint())(&version);
    const sp<HalProxyCallbackBase> client = new HalProxyCallbackBase();
    subHal->initialize(client);
    subHal->batch(kAccelerometer, 20'000'000, 0);
    subHal->activate(kAccelerometer, true);
    expect(hub.isEnabled(kAccelerometer), "the hub was told to switch the accelerometer on");

    // Three raw 16-bit values at 0.0023942 m/s² each, and the time in ns: 1 g along z.
    hub.push(kAccelerometer, simulator::RecordBuilder().i16(0).i16(0).i16(4096).u64(1000).bytes());
    expect(hub.waitIdle(), "the record was read");
    expect(client->isFaceUp(), "gravity along z is face up");
    hub.push(kAccelerometer, simulator::RecordBuilder().i16(4096).i16(0).i16(0).u64(2000).bytes());
    expect(hub.waitIdle() && !client->isFaceUp(), "gravity along x is not");

    hub.failOpen("/sys/class/sensors/hbx_sensor/enable", EIO);
    expect(subHal->activate(kAccelerometer, false) != android::hardware::sensors::V1_0::Result::OK,
           "the driver's failure reaches the client");
    std::puts("the client works");
}
