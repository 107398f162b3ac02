#include <cstdint>
#include <string>

#include "fuzz/Fuzzing.h"
#include "hub/QContextSensor.h"
#include "hub/SensorHubSensor.h"
#include "simulator/HubServices.h"
#include "simulator/SimulatedHub.h"

// The input is a row of records, each behind a byte whose lowest bit selects the device and whose
// others its length, so that records come short too. In front of it stands the name of a file in
// the dump directory, up to a NUL.
namespace {

using android::hardware::sensors::V2_0::zelva_sensorhub::QContextSensor;
using android::hardware::sensors::V2_0::zelva_sensorhub::SensorHubSensor;

constexpr char kDirectory[] = "/data/vendor/sensorhub/";
constexpr int kContextHandle = 32;
constexpr int kHousekeepingHandle = 33;
constexpr size_t kContextRecord = 72;
constexpr size_t kHousekeepingRecord = 11;
constexpr size_t kMaxRecords = 20;

struct Bench {
    simulator::SimulatedHub& hub = fuzzing::hubWithoutSensors();
    simulator::HubServices services{hub};
    fuzzing::DroppingCallback callback;
    QContextSensor context{&callback};
    SensorHubSensor housekeeping{&callback};

    Bench() { services.setDumpContent("dump"); }

    void pass(bool isContext, const std::string& record) {
        const int handle = isContext ? kContextHandle : kHousekeepingHandle;
        if (!hub.push(handle, record)) return;
        if (isContext) {
            context.readEvents();
        } else {
            housekeeping.readEvents();
        }
    }
};

std::string fileName(const std::string& text) {
    std::string name = text.substr(0, text.find('\0'));
    for (char& c : name) {
        if (c == '/') c = '_';
    }
    return name.empty() || name.size() > 200 || name[0] == '.' ? "f" : name;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static Bench bench;
    bench.hub.clearRequests();
    const std::string all(reinterpret_cast<const char*>(data), size);
    const std::string name = fileName(all);
    bench.hub.setFile(kDirectory + name, "");
    const size_t begin = all.find('\0') == std::string::npos ? size : all.find('\0') + 1;
    fuzzing::Input input(data + begin, size - begin);
    for (size_t i = 0; i < kMaxRecords && !input.atEnd(); ++i) {
        const auto head = static_cast<uint8_t>(input.take(1)[0]);
        const size_t whole = (head & 1) != 0 ? kContextRecord : kHousekeepingRecord;
        // Mostly whole records; a record has at least one byte.
        const size_t length = head < 128 ? whole : 1 + (head >> 1) % whole;
        bench.pass((head & 1) != 0, input.take(length));
    }
    for (const std::string& left : bench.hub.listDirectory(kDirectory)) {
        bench.hub.removeFile(kDirectory + left);
    }
    return 0;
}
