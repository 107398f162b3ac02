#include <cstdint>
#include <string>

#include "fuzz/Fuzzing.h"
#include "sensors/SensorList.h"
#include "simulator/RearLightSensor.h"
#include "simulator/SimulatedHub.h"

// The input is a row of steps with each driver: a byte for the sensor, one for what to do, then a
// record as long as the sensor's own or shorter, an injected event's payload, or numbers.
namespace {

using namespace android::hardware::sensors::V2_0::zelva_sensorhub;

constexpr size_t kMaxSteps = 20;

struct Bench {
    simulator::SimulatedHub hub;
    simulator::RearLightSensor rear{hub};
    testing_support::RecordingCallback callback;
    SensorList list{&callback};

    void step(fuzzing::Input& input) {
        SensorBase& sensor = *list.at(input.byte() % list.size());
        const int handle = sensor.getHandle();
        const uint8_t what = input.byte();
        const size_t whole = simulator::findKnownSensor(handle)->recordSize;
        switch (what % 8) {
            case 0: {
                Event event = {};
                event.sensorHandle = handle;
                input.fill(&event.u, sizeof(event.u));
                sensor.injectSensorData(event);
                break;
            }
            case 1:
                sensor.enable(handle, (what & 8) != 0);
                break;
            case 2:
                sensor.batch(handle, input.number(), input.number());
                sensor.flush(handle);
                break;
            case 3:
                rear.setText(input.take(what / 8));
                break;
            case 4:
                hub.setDataAvailable(handle, input.take(what / 8));
                sensor.getDataAvailable(static_cast<uint64_t>(input.number()));
                break;
            default:
                // Mostly whole.
                if (!hub.push(handle, input.take(what < 192 ? whole : 1 + what % whole))) break;
                sensor.readEvents();
        }
    }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static Bench bench;
    bench.hub.clearRequests();
    bench.callback.take();
    fuzzing::Input input(data, size);
    for (size_t i = 0; i < kMaxSteps && !input.atEnd(); ++i)
        bench.step(input);
    return 0;
}
