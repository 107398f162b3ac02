#include "tools/subhalctl/recording/CallTap.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <utility>

#include "tools/subhalctl/hubs/PlatformHooks.h"
#include "tools/subhalctl/showing/Output.h"

namespace subhalctl {
namespace {

constexpr size_t kTracedBytes = 64;

void traceLine(const char* call, const std::string& text) {
    const int64_t now = hubNowNs();
    std::fprintf(stderr, "%6" PRId64 ".%06" PRId64 " %5d %-5s %s\n", now / 1'000'000'000,
                 now % 1'000'000'000 / 1000, static_cast<int>(syscall(SYS_gettid)), call,
                 text.c_str());
}

}  // namespace

const char* nameOf(FileCall::Kind kind) {
    constexpr const char* kNames[] = {"open",  "read",    "write", "ioctl",
                                      "close", "opendir", "remove"};
    return kNames[static_cast<size_t>(kind)];
}

CallTap::CallTap(bool ownHub, simulator::CallObserver observer)
    : mObserver(std::move(observer)), mOwnHub(ownHub && simulator::tapFiles(&mOwnFiles)) {
    simulator::observeCalls(&mObserver);
}

CallTap::~CallTap() {
    simulator::observeCalls(nullptr);
    if (mOwnHub) simulator::untapFiles();
}

void traceCall(const FileCall& call) {
    char number[24] = "";
    if (call.kind == FileCall::Kind::kOpen || call.kind == FileCall::Kind::kIoctl) {
        std::snprintf(number, sizeof(number), " 0x%lx", call.number);
    }
    const std::string hex = hexOf(call.bytes.substr(0, kTracedBytes));
    traceLine(nameOf(call.kind),
              formatted("%s%s%s%s%s = %ld%s%s", printable(call.path).c_str(), number,
                        hex.empty() ? "" : " ", hex.c_str(),
                        call.bytes.size() > kTracedBytes ? "..." : "", call.result,
                        call.result < 0 ? " " : "",
                        call.result < 0 ? std::strerror(static_cast<int>(-call.result)) : ""));
}

void traceProperty(const char* call, const std::string& name, const std::string& value) {
    traceLine(call, printable(name) + " = " + printable(value));
}

}  // namespace subhalctl
