#include "tools/subhalctl/showing/Output.h"
#include "tools/subhalctl/verbs/Verbs.h"

namespace subhalctl {

ExitCode runHubDump(Proxy& proxy, const HubDumpOptions& options) {
    if (!proxy.options().hub.sim) {
        complain("hub dump needs a simulated hub: --sim");
        return kUsage;
    }
    const ExitCode opened = proxy.open();
    if (opened != kOk) return opened;
    Hub& hub = *proxy.hub();
    if (!hub.waitReady()) {
        complain("the library did not report to the hub that it is ready");
        return kNoData;
    }
    if (!hub.requestDump(options.type, options.count)) {
        complain("the library did not read the request");
        return kNoData;
    }
    if (!proxy.options().quiet) {
        print(
            "the hub asked to save a dump of type %d and to keep %d; files now, bytes and path on "
            "the hub:\n",
            options.type, options.count);
    }
    size_t bytes = 0;
    for (const auto& [path, size] : hub.dumpFiles()) {
        print("%8zu  %s\n", size, quoted(path).c_str());
        bytes += size;
    }
    if (bytes == 0) complain("the library saved nothing");
    return bytes > 0 ? kOk : kNoData;
}

}  // namespace subhalctl
