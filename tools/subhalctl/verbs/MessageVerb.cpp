#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
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

/** At most one byte more than a message may have, so that a file without end does not matter. */
std::optional<std::string> readMessage(const std::string& path) {
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    ssize_t got = fd < 0 ? -1 : 0;
    std::string bytes;
    char piece[kLargestMessage + 1];
    while (got >= 0 && bytes.size() <= kLargestMessage) {
        got = read(fd, piece, sizeof(piece) - bytes.size());
        if (got <= 0) break;
        bytes.append(piece, static_cast<size_t>(got));
    }
    const int error = errno;
    if (fd >= 0) close(fd);
    if (got >= 0) return bytes;
    complain("%s: %s", quoted(path).c_str(), std::strerror(error));
    return {};
}

/** The bytes to send; nothing, and told, when there are none or too many. */
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

class Sender {
  public:
    explicit Sender(Proxy& proxy) : mProxy(proxy) {}

    bool send(int32_t kind, size_t length, const std::string& chunk) {
        MessagePayload payload{kind, static_cast<int32_t>(length), {}};
        std::memcpy(payload.chunk, chunk.data(), std::min(chunk.size(), kChunkSize));
        Event event{};
        event.timestamp = hubNowNs();
        event.sensorHandle = simulator::kContextHandle;
        event.sensorType = static_cast<decltype(event.sensorType)>(kContextType);
        std::memcpy(&event.u, &payload, sizeof(payload));
        const Result result = mProxy.subHal().injectSensorData(event);
        if (result == Result::OK) return true;
        refused("qcontext", "message", result);
        return false;
    }

    bool sendMessage(const std::string& message) {
        // What fits beside the start event travels in it; a full chunk does not count as fitting.
        if (message.size() < kChunkSize) return send(kStart, message.size(), message);
        if (!send(kStart, message.size(), {})) return false;
        for (size_t at = 0; at < message.size(); at += kChunkSize) {
            const std::string chunk = message.substr(at, kChunkSize);
            if (!send(kData, chunk.size(), chunk)) return false;
        }
        return send(kEnd, message.size(), {});
    }

  private:
    Proxy& mProxy;
};

/** The library does not tell whether a message got through; the simulated hub does. */
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
    if (!Sender(proxy).sendMessage(*message)) return kRefused;
    if (!proxy.options().quiet) print("%s sent\n", counted(message->size(), "byte").c_str());
    return proxy.hub() == nullptr ? kOk : compareReceived(*proxy.hub(), *message);
}

}  // namespace subhalctl
