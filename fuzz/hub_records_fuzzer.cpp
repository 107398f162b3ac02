#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "fuzz/Fuzzing.h"
#include "hub/QContextSensor.h"
#include "hub/SensorHubSensor.h"
#include "simulator/HubServices.h"
#include "simulator/KnownSensors.h"
#include "simulator/SimulatedHub.h"

// The input is a row of steps, each behind a byte: records of either device, whole or short, the
// firmware's requests for files, what the proxy asks and injects. It begins with the name of a file
// in the dump directory, up to a NUL.
namespace {

using namespace android::hardware::sensors::V2_0::zelva_sensorhub;
using simulator::HubServices;
using simulator::kContextHandle;
using simulator::kHousekeepingHandle;
constexpr char kDirectory[] = "/data/vendor/sensorhub/";
constexpr int kMaxRead = 4091;
constexpr size_t kMaxSteps = 40;
constexpr size_t kLongestMessage = 1120;

struct Bench {
    simulator::SimulatedHub hub{testing_support::onlySensors({})};
    HubServices services{hub};
    testing_support::RecordingCallback callback;
    QContextSensor context{&callback};
    SensorHubSensor housekeeping{&callback};

    Bench() {
        services.setDumpContent("dump");
        simulator::NodeHandler messages;
        messages.onWrite = [](const std::string& bytes) {
            if (bytes.size() > kLongestMessage) abort();
            return static_cast<ssize_t>(bytes.size());
        };
        hub.setHandler("/dev/hbx_sensorhub", messages);
    }

    /** A request whose path stays inside the directory. Larger reads end the process by design. */
    void request(int operation, std::string text) {
        const auto pathEnd = std::find(text.begin(), text.end(), ',');
        std::replace(text.begin(), pathEnd, '/', '_');
        const bool hasSize = operation == HubServices::kRead && pathEnd != text.end();
        if (hasSize && strtoll(&*pathEnd + 1, nullptr, 10) > kMaxRead) return;
        const size_t violations = services.violations().size();
        if (!services.postRequest(operation, kDirectory + text)) return;
        housekeeping.readEvents();
        if (services.violations().size() > violations) abort();
    }

    /** Leaves nothing of this input to the next one. */
    void clear() {
        hub.clearRequests();
        callback.take();
        for (const std::string& left : hub.listDirectory(kDirectory))
            hub.removeFile(kDirectory + left);
    }

    void step(uint8_t head, fuzzing::Input& input) {
        const bool isContext = (head & 1) != 0;
        const size_t whole = isContext ? 72 : 11;
        const int handle = isContext ? kContextHandle : kHousekeepingHandle;
        Event event = {};
        switch (head / 16) {
            case 1:
                context.enable(kContextHandle, isContext);
                context.flush(kContextHandle);
                context.batch(kContextHandle, 0, 0, 0);
                break;
            case 2:
                input.fill(&event.u, sizeof(event.u));
                context.injectSensorData(event);
                break;
            case 3:
                request(head % 3, input.take(input.byte()));
                break;
            case 5:
                housekeeping.ready();
                break;
            default:
                // Mostly whole records; a record has at least one byte.
                if (!hub.push(handle, input.take(head < 128 ? whole : 1 + (head >> 1) % whole)))
                    break;
                (isContext ? static_cast<SensorBase&>(context) : housekeeping).readEvents();
        }
    }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static Bench bench;
    std::string name(data, std::find(data, data + size, 0));
    const size_t begin = std::min(name.size() + 1, size);
    name.resize(std::min(name.size(), size_t{200}));
    std::replace(name.begin(), name.end(), '/', '_');
    bench.hub.setFile(kDirectory + (name.empty() || name[0] == '.' ? "f" : name),
                      std::string(5000, 'f'));
    fuzzing::Input input(data + begin, size - begin);
    for (size_t i = 0; i < kMaxSteps && !input.atEnd(); ++i)
        bench.step(input.byte(), input);
    bench.clear();
    return 0;
}
