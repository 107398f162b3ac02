// Simulates the hub's hardware on a machine with the module: the standard catalogue's sensors,
// whose signals follow the requests. Prints when it is ready and the messages to the hub.

#include <cstdio>
#include <cstdlib>
#include <string>

#include "simulator/Request.h"
#include "simulator/SignalGenerator.h"
#include "simulator/World.h"
#include "simulator/kernel/KernelHub.h"

namespace {

using simulator::KernelHub;
using simulator::KernelRequest;
using simulator::SignalGenerator;

void follow(SignalGenerator& generator, const KernelRequest& request) {
    if (request.error != 0) return;
    switch (request.node) {
        case HUB_NODE_ENABLE:
            generator.setEnabled(request.handle, request.on);
            break;
        case HUB_NODE_BATCH: {
            const auto batch = simulator::parseBatch(request.number, request.bytes.data());
            generator.setRate(request.handle, batch.periodNs, batch.latencyNs);
            break;
        }
        case HUB_NODE_FLUSH:
            generator.flush(request.handle);
            break;
        case HUB_NODE_MESSAGE:
            std::printf("hubplay: message of %zu bytes: %s\n", request.bytes.size(),
                        request.bytes.c_str());
            break;
        default:
            break;
    }
}

}  // namespace

int main(int argc, char** argv) {
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    KernelHub hub;
    if (!hub.ok()) {
        std::perror("hubplay: " HUB_CONTROL_DEVICE);
        return 1;
    }
    const auto sensors = simulator::standardCatalogue();
    if (!hub.addSensors(sensors) || !hub.setFile(HUB_NODE_REAR_DATA, "-2,-2\n")) {
        std::perror("hubplay: cannot set the hub up");
        return 1;
    }
    const uint64_t seed = argc > 1 ? std::strtoull(argv[1], nullptr, 10) : 1;
    SignalGenerator generator(
        simulator::World(seed),
        [&hub](int handle, const std::string& record) { hub.push(handle, record); });
    for (const auto& spec : sensors)
        generator.addSensor(*simulator::findKnownSensor(spec.handle), spec);
    std::printf("hubplay: %zu sensors\n", sensors.size());
    for (;;) {
        if (const auto request = hub.nextRequest(std::chrono::hours(1)))
            follow(generator, *request);
    }
}
