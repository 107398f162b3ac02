#include <utils/SystemClock.h>

#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>

#include "tools/subhalctl/SensorLookup.h"
#include "tools/subhalctl/SensorValues.h"
#include "tools/subhalctl/Verbs.h"

namespace subhalctl {
namespace {

constexpr size_t kFirstArgument = 2;  // payload word behind the sub-command and a word left alone

std::optional<uint32_t> parseWord(const std::string& text) {
    char* end = nullptr;
    errno = 0;
    const long long number = std::strtoll(text.c_str(), &end, 0);
    if (text.empty() || *end != '\0' || errno != 0 || number < INT32_MIN || number > UINT32_MAX) {
        return {};
    }
    return static_cast<uint32_t>(number);
}

std::optional<uint32_t> parseFloat(const std::string& text) {
    char* end = nullptr;
    const float number = std::strtof(text.c_str(), &end);
    if (text.empty() || *end != '\0') return {};
    uint32_t word;
    std::memcpy(&word, &number, sizeof(word));
    return word;
}

/** Payload of the injected event; nothing, and told, when a value makes no sense. */
std::optional<Payload> payloadFor(const InjectOptions& options) {
    Payload payload{};
    size_t position = 0;
    for (const std::string& text : options.values) {
        const bool isWord = options.words || position == 0;
        const auto word = isWord ? parseWord(text) : parseFloat(text);
        if (!word || position >= payload.size()) {
            std::fprintf(stderr, "subhalctl: %s \"%s\"\n",
                         word ? "no room for" : (isWord ? "not a word:" : "not a number:"),
                         text.c_str());
            return {};
        }
        payload[position] = *word;
        position = !options.words && position == 0 ? kFirstArgument : position + 1;
    }
    return payload;
}

void printReceived(simulator::SimulatedHub& hub) {
    for (const auto& request : hub.requests(simulator::Request::Kind::kInjection)) {
        std::printf("the hub received%s:", request.error == 0 ? "" : " and refused");
        for (const char byte : request.bytes) {
            std::printf(" %02x", static_cast<unsigned>(static_cast<unsigned char>(byte)));
        }
        std::printf("\n");
    }
}

}  // namespace

ExitCode runInject(Proxy& proxy, const InjectOptions& options) {
    const auto payload = payloadFor(options);
    if (!payload) return kUsage;
    const ExitCode opened = proxy.open();
    if (opened != kOk) return opened;
    const SensorInfo* sensor = proxy.find(options.sensor);
    if (sensor == nullptr) return kNoSuchSensor;
    Event event{};
    event.timestamp = android::elapsedRealtimeNano();
    event.sensorHandle = sensor->sensorHandle;
    event.sensorType = sensor->type;
    std::memcpy(&event.u, payload->data(), sizeof(event.u));
    if (proxy.hub() != nullptr) proxy.hub()->clearRequests();
    const Result result = proxy.subHal().injectSensorData(event);
    if (proxy.hub() != nullptr) printReceived(*proxy.hub());
    if (result == Result::OK) return kOk;
    std::fprintf(stderr, "subhalctl: %s: inject: %s\n", typeName(*sensor).c_str(),
                 resultName(result).c_str());
    return kRefused;
}

}  // namespace subhalctl
