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

std::string bytesAt(const void* buffer, size_t size) {
    return {static_cast<const char*>(buffer), size};
}

}  // namespace

const char* nameOf(FileCall::Kind kind) {
    constexpr const char* kNames[] = {"open",  "read",    "write", "ioctl",
                                      "close", "opendir", "remove"};
    return kNames[static_cast<size_t>(kind)];
}

CallTap::CallTap(bool ownHub, std::vector<Sink> sinks)
    : mSinks(std::move(sinks)), mOwnHub(ownHub && simulator::tapFiles(&mOwnFiles)) {
    simulator::observeCalls(this);
}

CallTap::~CallTap() {
    simulator::observeCalls(nullptr);
    if (mOwnHub) simulator::untapFiles();
}

void CallTap::pass(const FileCall& call) const {
    for (const Sink& sink : mSinks) {
        sink(call);
    }
}

std::string CallTap::pathOf(int fd) const {
    const std::lock_guard<std::mutex> lock(mLock);
    const auto found = mPaths.find(fd);
    return found != mPaths.end() ? found->second : "";
}

void CallTap::opened(const std::string& hubPath, int flags, int result) {
    if (result >= 0) {
        const std::lock_guard<std::mutex> lock(mLock);
        mPaths[result] = hubPath;
    }
    pass({FileCall::Kind::kOpen, hubPath, static_cast<unsigned long>(flags), "", result});
}

void CallTap::wasRead(int fd, const void* buffer, size_t size, ssize_t result) {
    const std::string bytes = bytesAt(buffer, static_cast<size_t>(std::max<ssize_t>(result, 0)));
    pass({FileCall::Kind::kRead, pathOf(fd), size, bytes, result});
}

void CallTap::written(int fd, const void* buffer, size_t size, ssize_t result) {
    pass({FileCall::Kind::kWrite, pathOf(fd), size, bytesAt(buffer, size), result});
}

void CallTap::controlled(int fd, unsigned long request, const void* argument, int result) {
    const std::string path = pathOf(fd);
    const bool isBatch = path == "/dev/batch_io" && argument != nullptr;
    pass({FileCall::Kind::kIoctl, path, request & 0xFFFFFFFF,
          isBatch ? bytesAt(argument, kBatchBytes) : "", result});
}

void CallTap::closing(int fd) {
    std::string path;
    {
        const std::lock_guard<std::mutex> lock(mLock);
        path = mPaths[fd];
        mPaths.erase(fd);
    }
    pass({FileCall::Kind::kClose, path, 0, "", 0});
}

void CallTap::openedDirectory(const std::string& hubPath, int result) {
    pass({FileCall::Kind::kOpendir, hubPath, 0, "", result});
}

void CallTap::removed(const std::string& hubPath, int result) {
    pass({FileCall::Kind::kRemove, hubPath, 0, "", result});
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
