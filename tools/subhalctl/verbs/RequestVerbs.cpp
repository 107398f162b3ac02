#include <algorithm>
#include <cerrno>
#include <cinttypes>
#include <cstdlib>
#include <cstring>
#include <optional>

#include "simulator/KnownSensors.h"
#include "tools/subhalctl/doctor/Findings.h"
#include "tools/subhalctl/hubs/PlatformHooks.h"
#include "tools/subhalctl/proxy/SensorLookup.h"
#include "tools/subhalctl/showing/EventWriter.h"
#include "tools/subhalctl/showing/Output.h"
#include "tools/subhalctl/showing/SensorValues.h"
#include "tools/subhalctl/verbs/Verbs.h"

// Single requests: a flush, and what goes to the hub as an injected event, sub-commands for a
// sensor and messages.

namespace subhalctl {
namespace {

using android::hardware::sensors::V1_0::SensorType;

constexpr int64_t kFlushedPeriodNs = 20'000'000;
constexpr int64_t kFlushedLatencyNs = 10'000'000'000;  // so that events are held back

constexpr uint32_t kFirstSubCommand = 2;
constexpr size_t kFirstArgument = 2;  // payload word, after the sub-command and an unused word
constexpr auto kContextType = static_cast<SensorType>(0x10032);
constexpr size_t kLargestMessage = 1119;
constexpr size_t kChunkSize = 56;

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

void printReceived(const std::vector<simulator::Request>& injections) {
    for (const simulator::Request& injection : injections) {
        std::string bytes;
        for (const char byte : injection.bytes) {
            bytes += formatted(" %02x", static_cast<unsigned>(static_cast<unsigned char>(byte)));
        }
        print("the hub received%s:%s\n", injection.error != 0 ? " and refused" : "", bytes.c_str());
    }
    if (injections.empty()) print("the hub received nothing\n");
}

Result injectPayload(Proxy& proxy, int32_t handle, SensorType type, const Payload& payload) {
    Event event{};
    event.timestamp = hubNowNs();
    event.sensorHandle = handle;
    event.sensorType = type;
    std::memcpy(&event.u, payload.data(), sizeof(event.u));
    return proxy.subHal().injectSensorData(event);
}

std::optional<std::string> messageOf(const MessageOptions& options) {
    std::string message = options.text;
    if (!options.hex.empty()) {
        const auto bytes = bytesOfHex(options.hex);
        if (!bytes) {
            complain("--hex takes pairs of hexadecimal digits");
            return {};
        }
        message = *bytes;
    }
    const int error = options.file.empty() ? 0 : readFile(options.file, &message);
    if (error != 0) {
        complain("%s: %s", quoted(options.file).c_str(), std::strerror(error));
        return {};
    }
    if (!message.empty() && message.size() <= kLargestMessage) return message;
    complain("a message has 1 to %zu bytes, not %s", kLargestMessage,
             message.empty() ? "none" : "more");
    return {};
}

enum class MessagePart : uint32_t { kStart = 0, kEnd = 1, kData = 0x42554853 };

bool send(Proxy& proxy, MessagePart part, size_t length, const std::string& chunk) {
    Payload payload{static_cast<uint32_t>(part), static_cast<uint32_t>(length)};
    std::memcpy(&payload[2], chunk.data(), std::min(chunk.size(), kChunkSize));
    const Result result = injectPayload(proxy, simulator::kContextHandle, kContextType, payload);
    if (result != Result::OK) refused("qcontext", "message", result);
    return result == Result::OK;
}

bool sendMessage(Proxy& proxy, const std::string& message) {
    // A short message travels in the start event; a full chunk does not count as short.
    if (message.size() < kChunkSize)
        return send(proxy, MessagePart::kStart, message.size(), message);
    if (!send(proxy, MessagePart::kStart, message.size(), {})) return false;
    for (size_t at = 0; at < message.size(); at += kChunkSize) {
        const std::string chunk = message.substr(at, kChunkSize);
        if (!send(proxy, MessagePart::kData, chunk.size(), chunk)) return false;
    }
    return send(proxy, MessagePart::kEnd, message.size(), {});
}

/** Only the simulated hub knows whether a message got through. */
ExitCode compareReceived(Hub& hub, const std::string& message) {
    const std::vector<std::string> received = hub.messages();
    const bool whole = received.size() == 1 && received.front() == message;
    print("the hub received %s\n",
          received.empty() ? "nothing" : (whole ? "the whole message" : "something else"));
    return whole ? kOk : kCheckFailed;
}

}  // namespace

ExitCode runFlush(Proxy& proxy, const FlushOptions& options) {
    const ExitCode opened = proxy.open();
    if (opened != kOk) return opened;
    const SensorInfo* sensor = proxy.find(options.sensor);
    if (sensor == nullptr) return kNoSuchSensor;
    std::optional<ActiveSensor> active;
    const bool oneShot = reportingMode(*sensor) == SensorFlagBits::ONE_SHOT_MODE;
    // A one-shot sensor cannot be flushed, and switching it on may use up its shot.
    if (!oneShot) {
        active.emplace(proxy, *sensor, kFlushedPeriodNs, kFlushedLatencyNs);
        if (!active->active()) return kRefused;
    }
    const int64_t beginNs = bootTimeNs();
    const Result result = proxy.flush(sensor->sensorHandle);
    if (result != Result::OK) {
        if (oneShot) complain("a one-shot sensor has nothing to flush");
        return refused(typeName(*sensor), "flush", result);
    }
    int64_t events = 0;
    const auto end = proxy.events().receiveFor(options.seconds, [&](const ReceivedEvent& received) {
        if (received.event.sensorHandle != sensor->sensorHandle) return false;
        if (kindOf(received.event) == EventKind::kFlushComplete) return true;
        ++events;
        return false;
    });
    if (end != EventQueue::End::kDone) {
        const bool cut = end == EventQueue::End::kInterrupted;
        complain("%s: %s", typeName(*sensor).c_str(),
                 cut ? "interrupted" : "no completion of the flush");
        return kNoData;
    }
    print("%s: flush complete after %.3f ms, %s before it\n", typeName(*sensor).c_str(),
          milliseconds(bootTimeNs() - beginNs), counted(events, "event").c_str());
    return kOk;
}

ExitCode runInject(Proxy& proxy, const InjectOptions& options) {
    const auto payload = payloadFor(options);
    if (!payload) return kUsage;
    const ExitCode opened = proxy.open();
    if (opened != kOk) return opened;
    const SensorInfo* sensor = proxy.find(options.sensor);
    if (sensor == nullptr) return kNoSuchSensor;
    if (proxy.hub() != nullptr) proxy.hub()->takeInjections();
    const Result result = injectPayload(proxy, sensor->sensorHandle, sensor->type, *payload);
    if (proxy.hub() != nullptr) printReceived(proxy.hub()->takeInjections());
    if (result != Result::OK) return refused(typeName(*sensor), "inject", result);
    if (proxy.options().quiet) return kOk;
    const bool idle = payload->front() < kFirstSubCommand;
    print("%s: %s 0x%" PRIx32 "\n", typeName(*sensor).c_str(),
          idle ? "nothing to do for sub-command" : "the library took sub-command",
          payload->front());
    return kOk;
}

ExitCode runMessage(Proxy& proxy, const MessageOptions& options) {
    const auto message = messageOf(options);
    if (!message) return kUsage;
    const ExitCode opened = proxy.open();
    if (opened != kOk) return opened;
    if (!sendMessage(proxy, *message)) return kRefused;
    if (!proxy.options().quiet)
        print("the library took %s\n", counted(message->size(), "byte").c_str());
    return proxy.hub() == nullptr ? kOk : compareReceived(*proxy.hub(), *message);
}

}  // namespace subhalctl
