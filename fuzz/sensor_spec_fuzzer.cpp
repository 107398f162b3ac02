#include <cstdint>
#include <string>

#include "fuzz/Fuzzing.h"
#include "sensors/SensorList.h"
#include "simulator/SimulatedHub.h"

// The input is the hub's sensor specification file.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    // Few devices, as the search for one takes time; the file's other records are read, too.
    static simulator::SimulatedHub hub(testing_support::onlySensors({1, 17, 38}));
    static testing_support::RecordingCallback callback;
    hub.clearRequests();
    hub.setRawSpec(std::string(reinterpret_cast<const char*>(data), size));
    android::hardware::sensors::V2_0::zelva_sensorhub::SensorList list(&callback);
    for (const auto& info : list.getSensorInfoList()) {
        if (list.get(info.sensorHandle) == nullptr) __builtin_trap();
    }
    return 0;
}
