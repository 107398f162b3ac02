#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>

#include "fuzz/Fuzzing.h"
#include "hub/SensorHubDataWriter.h"
#include "simulator/SimulatedHub.h"

// The input is a row of injected events' payloads, 64 bytes each. What reaches the hub must be no
// longer than the longest message.
namespace {

using android::hardware::sensors::V1_0::Event;
using android::hardware::sensors::V2_0::zelva_sensorhub::SensorHubDataWriter;

constexpr size_t kLongestMessage = 1119;

SensorHubDataWriter& writer() {
    simulator::NodeHandler device;
    device.onWrite = [](const std::string& bytes) {
        if (bytes.size() > kLongestMessage) abort();
        return static_cast<ssize_t>(bytes.size());
    };
    fuzzing::hubWithoutSensors().setHandler("/dev/hbx_sensorhub", device);
    static SensorHubDataWriter instance;
    return instance;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static SensorHubDataWriter& target = writer();
    fuzzing::hubWithoutSensors().clearRequests();
    fuzzing::Input input(data, size);
    while (!input.atEnd()) {
        Event event = {};
        memcpy(&event.u, input.take(sizeof(event.u)).data(), sizeof(event.u));
        if (target.handleData(event) > static_cast<int32_t>(kLongestMessage)) abort();
    }
    // An end event leaves every input the same beginning.
    Event end = {};
    const int32_t kind = 1;
    memcpy(&end.u, &kind, sizeof(kind));
    target.handleData(end);
    return 0;
}
