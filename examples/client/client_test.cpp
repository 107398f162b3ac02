// A client of the sub-HAL (here: whether the device lies face up) and its test, without a device.
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>

#include "simulator/RecordBuilder.h"
#include "simulator/SimulatedHub.h"
#include "tools/proxy/SubHalLibrary.h"

namespace {

using android::hardware::sensors::V1_0::Result;
using android::hardware::sensors::V1_0::SensorType;
using host_proxy::HalProxyCallback;

constexpr int kAccelerometer = 1;

void expect(bool condition, const char* what) {
    if (condition) return;
    std::fprintf(stderr, "failed: %s\n", what);
    std::exit(EXIT_FAILURE);
}

}  // namespace

int main() {
    std::atomic<bool> faceUp{false};
    simulator::SimulatedHub hub;
    host_proxy::SubHalLibrary library(SUBHAL);
    expect(library.subHal() != nullptr, library.error().c_str());

    auto& subHal = *library.subHal();
    subHal.initialize(new HalProxyCallback([&faceUp](const auto& events, bool) {
        for (const auto& event : events) {
            if (event.sensorType == SensorType::ACCELEROMETER) faceUp = event.u.vec3.z > 9.0f;
        }
    }));
    subHal.batch(kAccelerometer, 20'000'000, 0);
    subHal.activate(kAccelerometer, true);
    expect(hub.device(kAccelerometer).enabled, "the accelerometer was switched on");

    // Three raw 16-bit values at 0.0023942 m/s² each, and the time in ns: 1 g along z.
    hub.push(kAccelerometer, simulator::RecordBuilder().i16(0).i16(0).i16(4096).u64(1000).bytes());
    expect(hub.waitIdle(), "the record was read");
    expect(faceUp, "gravity along z is face up");
    hub.push(kAccelerometer, simulator::RecordBuilder().i16(4096).i16(0).i16(0).u64(2000).bytes());
    expect(hub.waitIdle() && !faceUp, "gravity along x is not");

    hub.fail("open", "/sys/class/sensors/hbx_sensor/enable", EIO);
    expect(subHal.activate(kAccelerometer, false) != Result::OK,
           "the driver's failure reaches the client");

    // The library's end waits for one more record.
    const simulator::ShutdownHelper helper(hub);
    expect(library.unload(), "the library goes");
    std::puts("the client works");
}
