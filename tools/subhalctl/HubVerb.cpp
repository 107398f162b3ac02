#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <optional>

#include "tools/subhalctl/Verbs.h"

namespace subhalctl {
namespace {

using simulator::HubServices;

constexpr char kDumpDirectory[] = "/data/vendor/sensorhub";

ExitCode openWithServices(Proxy& proxy) {
    if (!proxy.options().sim) {
        std::fprintf(stderr, "subhalctl: only a simulated hub can be made to ask: --sim\n");
        return kUsage;
    }
    const ExitCode opened = proxy.open();
    if (opened != kOk) return opened;
    if (proxy.hubServices()->waitReady()) return kOk;
    std::fprintf(stderr, "subhalctl: the library did not tell the hub that it is ready\n");
    return kNoData;
}

ExitCode checkViolations(const HubServices& services) {
    const auto violations = services.violations();
    for (const std::string& violation : violations) {
        std::fprintf(stderr, "subhalctl: %s\n", violation.c_str());
    }
    return violations.empty() ? kOk : kCheckFailed;
}

void printReply(const HubServices::FileReply& reply) {
    // -1 is a call's bare failure; only what is below it is an error number.
    if (reply.result < -1) {
        std::printf("result %" PRId32 " (%s)\n", reply.result, std::strerror(-reply.result));
    } else {
        std::printf("result %" PRId32 "\n", reply.result);
    }
    if (!reply.data.empty()) {
        std::fwrite(reply.data.data(), 1, reply.data.size(), stdout);
        std::printf("\n");
    }
}

}  // namespace

ExitCode runHubDump(Proxy& proxy, const HubDumpOptions& options) {
    const ExitCode opened = openWithServices(proxy);
    if (opened != kOk) return opened;
    proxy.hubServices()->setDumpContent("dump of the simulated hub\n");
    if (!proxy.hubServices()->requestDump(options.type, options.count) ||
        !proxy.hub()->waitIdle()) {
        std::fprintf(stderr, "subhalctl: the request was not read\n");
        return kNoData;
    }
    for (const std::string& name : proxy.hub()->listDirectory(kDumpDirectory)) {
        const std::string path = std::string(kDumpDirectory) + "/" + name;
        std::printf("%8zu  %s\n", proxy.hub()->readFile(path).size(), path.c_str());
    }
    return checkViolations(*proxy.hubServices());
}

ExitCode runHubFile(Proxy& proxy, const HubFileOptions& options) {
    const ExitCode opened = openWithServices(proxy);
    if (opened != kOk) return opened;
    HubServices& services = *proxy.hubServices();
    std::optional<HubServices::FileReply> reply;
    if (options.operation == HubServices::kRead) {
        reply = services.readFile(options.path, options.size, options.offset);
    } else if (options.operation == HubServices::kWrite) {
        reply = services.writeFile(options.path, options.text, options.offset);
    } else {
        reply = services.removeFile(options.path);
    }
    if (!reply) {
        std::fprintf(stderr, "subhalctl: no reply\n");
        return kNoData;
    }
    printReply(*reply);
    return reply->result < 0 ? kRefused : checkViolations(services);
}

}  // namespace subhalctl
