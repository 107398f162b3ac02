#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <optional>

#include "simulator/KnownSensors.h"
#include "tools/subhalctl/hubs/PlatformHooks.h"
#include "tools/subhalctl/recording/Hex.h"
#include "tools/subhalctl/showing/Output.h"
#include "tools/subhalctl/verbs/Verbs.h"

namespace subhalctl {
namespace {

constexpr int32_t kContextType = 0x10032;
constexpr size_t kLargestMessage = 1119;
constexpr size_t kChunkSize = 56;

enum MessageEvent : int32_t { kStart = 0, kEnd = 1, kData = 0x42554853 };

struct MessagePayload {
    int32_t kind;
    int32_t length;
    char chunk[kChunkSize];
};
static_assert(sizeof(MessagePayload) == 64);

/** At most one byte more than a message may have: the file may be endless. */
std::optional<std::string> readMessage(const std::string& path) {
    std::FILE* file = std::fopen(path.c_str(), "re");
    std::string bytes(kLargestMessage + 1, '\0');
    if (file != nullptr) bytes.resize(std::fread(bytes.data(), 1, bytes.size(), file));
    const bool failed = file == nullptr || std::ferror(file) != 0;
    if (failed) complain("%s: %s", quoted(path).c_str(), std::strerror(errno));
    if (file != nullptr) std::fclose(file);
    return failed ? std::nullopt : std::optional(bytes);
}

std::optional<std::string> messageOf(const MessageOptions& options) {
    auto message = std::optional<std::string>(options.text);
    if (!options.hex.empty()) {
        message = bytesOfHex(options.hex);
        if (!message) complain("--hex takes pairs of hexadecimal digits");
    }
    if (!options.file.empty()) message = readMessage(options.file);
    if (!message) return {};
    if (!message->empty() && message->size() <= kLargestMessage) return message;
    complain("a message has 1 to %zu bytes, not %s", kLargestMessage,
             message->empty() ? "none" : "more");
    return {};
}

bool send(Proxy& proxy, int32_t kind, size_t length, const std::string& chunk) {
    MessagePayload payload{kind, static_cast<int32_t>(length), {}};
    std::memcpy(payload.chunk, chunk.data(), std::min(chunk.size(), kChunkSize));
    Event event{};
    event.timestamp = hubNowNs();
    event.sensorHandle = simulator::kContextHandle;
    event.sensorType = static_cast<decltype(event.sensorType)>(kContextType);
    std::memcpy(&event.u, &payload, sizeof(payload));
    const Result result = proxy.subHal().injectSensorData(event);
    if (result != Result::OK) refused("qcontext", "message", result);
    return result == Result::OK;
}

bool sendMessage(Proxy& proxy, const std::string& message) {
    // A short message travels in the start event; a full chunk does not count as short.
    if (message.size() < kChunkSize) return send(proxy, kStart, message.size(), message);
    if (!send(proxy, kStart, message.size(), {})) return false;
    for (size_t at = 0; at < message.size(); at += kChunkSize) {
        const std::string chunk = message.substr(at, kChunkSize);
        if (!send(proxy, kData, chunk.size(), chunk)) return false;
    }
    return send(proxy, kEnd, message.size(), {});
}

/** Only the simulated hub knows whether a message got through. */
ExitCode compareReceived(Hub& hub, const std::string& message) {
    const std::vector<std::string> received = hub.messages();
    const bool whole = received.size() == 1 && received.front() == message;
    print("the hub received %s\n", whole ? "the whole message" : "something else");
    return whole ? kOk : kCheckFailed;
}

}  // namespace

ExitCode runMessage(Proxy& proxy, const MessageOptions& options) {
    const auto message = messageOf(options);
    if (!message) return kUsage;
    const ExitCode opened = proxy.open();
    if (opened != kOk) return opened;
    if (!sendMessage(proxy, *message)) return kRefused;
    if (!proxy.options().quiet) print("%s sent\n", counted(message->size(), "byte").c_str());
    return proxy.hub() == nullptr ? kOk : compareReceived(*proxy.hub(), *message);
}

}  // namespace subhalctl
