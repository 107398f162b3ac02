#include <cinttypes>
#include <cstring>

#include "tools/subhalctl/showing/Output.h"
#include "tools/subhalctl/verbs/Verbs.h"

namespace subhalctl {
namespace {

ExitCode openWithServices(Proxy& proxy) {
    if (!proxy.options().hub.sim) {
        complain("only a simulated hub can be made to ask: --sim");
        return kUsage;
    }
    const ExitCode opened = proxy.open();
    if (opened != kOk) return opened;
    if (proxy.hub()->waitReady()) return kOk;
    complain("the library did not tell the hub that it is ready");
    return kNoData;
}

ExitCode checkViolations(Hub& hub) {
    const auto violations = hub.violations();
    for (const std::string& violation : violations) {
        complain("%s", violation.c_str());
    }
    return violations.empty() ? kOk : kCheckFailed;
}

FileOperation operationOf(const std::string& name) {
    if (name == "read") return FileOperation::kRead;
    return name == "write" ? FileOperation::kWrite : FileOperation::kRemove;
}

void printReply(FileOperation operation, const FileOutcome& reply) {
    if (reply.result < 0) {
        // -1 is a call's bare failure; only what is below it is an error number.
        print("the library answered %" PRId32 "%s%s\n", reply.result,
              reply.result < -1 ? ": " : ", it failed",
              reply.result < -1 ? std::strerror(-reply.result) : "");
    } else if (operation == FileOperation::kRemove) {
        print("the library removed it\n");
    } else {
        print("the library %s %" PRId32 " bytes\n",
              operation == FileOperation::kRead ? "read" : "wrote", reply.result);
    }
    if (reply.data.empty()) return;
    printText(printableLines(reply.data) + (reply.data.back() == '\n' ? "" : "\n"));
}

}  // namespace

ExitCode runHubDump(Proxy& proxy, const HubDumpOptions& options) {
    const ExitCode opened = openWithServices(proxy);
    if (opened != kOk) return opened;
    Hub& hub = *proxy.hub();
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
    for (const auto& [path, size] : hub.dumpFiles()) {
        print("%8zu  %s\n", size, quoted(path).c_str());
    }
    return checkViolations(hub);
}

ExitCode runHubFile(Proxy& proxy, const HubFileOptions& options) {
    const ExitCode opened = openWithServices(proxy);
    if (opened != kOk) return opened;
    const FileOperation operation = operationOf(options.operation);
    if (!proxy.options().quiet) {
        print("the hub asked to %s %s\n", options.operation.c_str(), quoted(options.path).c_str());
    }
    const auto reply = proxy.hub()->requestFile(operation, options.path, options.text, options.size,
                                                options.offset);
    if (!reply) {
        complain("the library gave no reply");
        return kNoData;
    }
    printReply(operation, *reply);
    return reply->result < 0 ? kRefused : checkViolations(*proxy.hub());
}

}  // namespace subhalctl
