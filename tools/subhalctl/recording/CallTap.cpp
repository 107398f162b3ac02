#include "tools/subhalctl/recording/CallTap.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <utility>

#include "tools/subhalctl/hubs/PlatformHooks.h"
#include "tools/subhalctl/recording/Hex.h"
#include "tools/subhalctl/showing/Output.h"

namespace subhalctl {
namespace {

constexpr size_t kBatchBytes = 24;  // of the record behind a request that encodes a size of 8
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

CallTap::CallTap(bool ownHub, std::vector<Sink> sinks)
    : mSinks(std::move(sinks)),
      mOwnHub(ownHub && simulator::tapFiles(&mOwnFiles)),
      mObserver([this](const simulator::TappedCall& call) { pass(call); }) {
    simulator::observeCalls(&mObserver);
}

CallTap::~CallTap() {
    simulator::observeCalls(nullptr);
    if (mOwnHub) simulator::untapFiles();
}

void CallTap::pass(const simulator::TappedCall& tapped) {
    FileCall call{tapped.kind, pathOf(tapped), tapped.number, "", tapped.result};
    size_t size = call.kind == FileCall::Kind::kWrite ? call.number : 0;
    if (call.kind == FileCall::Kind::kRead) size = static_cast<size_t>(std::max(call.result, 0L));
    if (call.kind == FileCall::Kind::kIoctl && call.path == "/dev/batch_io") size = kBatchBytes;
    if (tapped.data != nullptr) call.bytes.assign(static_cast<const char*>(tapped.data), size);
    for (const Sink& sink : mSinks) {
        sink(call);
    }
}

std::string CallTap::pathOf(const simulator::TappedCall& tapped) {
    const std::lock_guard<std::mutex> lock(mLock);
    if (tapped.kind == FileCall::Kind::kOpen && tapped.result >= 0) {
        mPaths[tapped.result] = tapped.hubPath;
    }
    if (tapped.fd < 0) return tapped.hubPath;
    std::string path = mPaths[tapped.fd];
    if (tapped.kind == FileCall::Kind::kClose) mPaths.erase(tapped.fd);
    return path;
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
