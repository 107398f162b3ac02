#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "fuzz/Fuzzing.h"
#include "hub/SensorHubSensor.h"
#include "simulator/HubServices.h"
#include "simulator/SimulatedHub.h"

// Byte 0 of the input selects the operation, the rest is the request behind a directory that keeps
// its path inside the hub's tree.
namespace {

using android::hardware::sensors::V2_0::zelva_sensorhub::SensorHubSensor;
using simulator::HubServices;

constexpr char kDirectory[] = "/data/vendor/sensorhub/";
constexpr int kMaxRead = 4091;

struct Bench {
    simulator::SimulatedHub& hub = fuzzing::hubWithoutSensors();
    HubServices services{hub};
    fuzzing::DroppingCallback callback;
    SensorHubSensor sensor{&callback};

    Bench() { sensor.ready(); }

    /** The same files at each start: "a" alone. */
    void tidy() {
        for (const std::string& name : hub.listDirectory(kDirectory)) {
            hub.removeFile(kDirectory + name);
        }
        hub.setFile(std::string(kDirectory) + "a", std::string(5000, 'a'));
        hub.clearRequests();
    }
};

/** A larger read ends the process by design. */
bool isFatal(int operation, const std::string& request) {
    const size_t comma = request.find(',');
    if (operation != HubServices::kRead || comma == std::string::npos) return false;
    return strtoll(request.c_str() + comma + 1, nullptr, 10) > kMaxRead;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static Bench bench;
    if (size == 0) return 0;
    const int operation = data[0] % 3;
    std::string request(reinterpret_cast<const char*>(data) + 1, size - 1);
    const auto pathEnd = std::find(request.begin(), request.end(), ',');
    std::replace(request.begin(), pathEnd, '/', '_');
    request.insert(0, kDirectory);
    request.resize(std::min(request.size(), size_t{4096}));
    if (isFatal(operation, request)) return 0;

    bench.tidy();
    if (!bench.services.postRequest(operation, request)) abort();
    bench.sensor.readEvents();
    bench.services.takeReply();
    if (!bench.services.violations().empty()) abort();
    return 0;
}
