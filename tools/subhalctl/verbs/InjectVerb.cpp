
#include <cerrno>
#include <cinttypes>
#include <cstdlib>
#include <cstring>
#include <optional>

#include "tools/subhalctl/hubs/PlatformHooks.h"
#include "tools/subhalctl/proxy/SensorLookup.h"
#include "tools/subhalctl/showing/Output.h"
#include "tools/subhalctl/showing/SensorValues.h"
#include "tools/subhalctl/verbs/Verbs.h"

namespace subhalctl {
namespace {

constexpr uint32_t kFirstSubCommand = 2;
constexpr size_t kFirstArgument = 2;  // payload word, after the sub-command and an unused word

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

/** Payload of the injected event; nothing after reporting a value that makes no sense. */
std::optional<Payload> payloadFor(const InjectOptions& options) {
    Payload payload{};
    size_t position = 0;
    for (const std::string& text : options.values) {
        const bool isWord = options.words || position == 0;
        const auto word = isWord ? parseWord(text) : parseFloat(text);
        if (!word || position >= payload.size()) {
            complain("%s %s", word ? "no room for" : (isWord ? "not a word:" : "not a number:"),
                     quoted(text).c_str());
            return {};
        }
        payload[position] = *word;
        position = !options.words && position == 0 ? kFirstArgument : position + 1;
    }
    return payload;
}

void printReceived(const std::vector<Injection>& injections) {
    for (const Injection& injection : injections) {
        std::string bytes;
        for (const char byte : injection.bytes) {
            bytes += formatted(" %02x", static_cast<unsigned>(static_cast<unsigned char>(byte)));
        }
        print("the hub received%s:%s\n", injection.refused ? " and refused" : "", bytes.c_str());
    }
    if (injections.empty()) print("the hub received nothing\n");
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
    event.timestamp = hubNowNs();
    event.sensorHandle = sensor->sensorHandle;
    event.sensorType = sensor->type;
    std::memcpy(&event.u, payload->data(), sizeof(event.u));
    if (proxy.hub() != nullptr) proxy.hub()->takeInjections();
    const Result result = proxy.subHal().injectSensorData(event);
    if (proxy.hub() != nullptr) printReceived(proxy.hub()->takeInjections());
    if (result != Result::OK) return refused(typeName(*sensor), "inject", result);
    if (proxy.options().quiet) return kOk;
    const bool idle = payload->front() < kFirstSubCommand;
    print("%s: %s 0x%" PRIx32 "\n", typeName(*sensor).c_str(),
          idle ? "nothing to do for sub-command" : "the library took sub-command",
          payload->front());
    return kOk;
}

}  // namespace subhalctl
