#include "tools/subhalctl/recording/CallTap.h"

#include <sys/ioctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
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

/** The machine's own files, behind the redirection so that the calls are seen. */
class OwnFiles : public simulator::FileBackend {
  public:
    std::string realPath(const std::string& hubPath) const override { return hubPath; }
    int enterDirectory(const std::string&) override { return 0; }
    int open(const std::string& path, int flags, mode_t mode, uint32_t* node) override {
        *node = 1;
        const int fd = simulator::real::open(path.c_str(), flags, mode);
        return fd >= 0 ? fd : -errno;
    }
    ssize_t read(uint32_t, int fd, void* buffer, size_t size) override {
        const ssize_t got = simulator::real::read(fd, buffer, size);
        return got >= 0 ? got : -errno;
    }
    ssize_t write(uint32_t, int fd, const void* buffer, size_t size) override {
        const ssize_t put = simulator::real::write(fd, buffer, size);
        return put >= 0 ? put : -errno;
    }
    int ioctl(uint32_t, int fd, unsigned long request, void* argument) override {
        const long result = syscall(SYS_ioctl, fd, request, argument);
        return result >= 0 ? static_cast<int>(result) : -errno;
    }
    int close(uint32_t) override { return 0; }
    int enterPoll() override { return 0; }
    void leavePoll() override {}
};

std::string bytesAt(const void* buffer, size_t size) {
    return {static_cast<const char*>(buffer), size};
}

}  // namespace

const char* nameOf(FileCall::Kind kind) {
    constexpr const char* kNames[] = {"open", "read", "write", "ioctl", "close"};
    return kNames[static_cast<size_t>(kind)];
}

CallTap::CallTap(bool ownHub, std::vector<Sink> sinks) : mSinks(std::move(sinks)) {
    if (ownHub) {
        mOwnFiles = std::make_unique<OwnFiles>();
        simulator::installBackend(mOwnFiles.get());
    }
    simulator::observeCalls(this);
}

CallTap::~CallTap() {
    simulator::observeCalls(nullptr);
    if (mOwnFiles) simulator::removeBackend();
}

void CallTap::tell(const FileCall& call) const {
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
    tell({FileCall::Kind::kOpen, hubPath, static_cast<unsigned long>(flags), "", result});
}

void CallTap::wasRead(int fd, const void* buffer, size_t size, ssize_t result) {
    const std::string bytes = bytesAt(buffer, static_cast<size_t>(std::max<ssize_t>(result, 0)));
    tell({FileCall::Kind::kRead, pathOf(fd), size, bytes, result});
}

void CallTap::written(int fd, const void* buffer, size_t size, ssize_t result) {
    tell({FileCall::Kind::kWrite, pathOf(fd), size, bytesAt(buffer, size), result});
}

void CallTap::controlled(int fd, unsigned long request, const void* argument, int result) {
    const std::string path = pathOf(fd);
    const bool isBatch = path == "/dev/batch_io" && argument != nullptr;
    tell({FileCall::Kind::kIoctl, path, request & 0xFFFFFFFF,
          isBatch ? bytesAt(argument, kBatchBytes) : "", result});
}

void CallTap::closing(int fd) {
    std::string path;
    {
        const std::lock_guard<std::mutex> lock(mLock);
        path = mPaths[fd];
        mPaths.erase(fd);
    }
    tell({FileCall::Kind::kClose, path, 0, "", 0});
}

void traceCall(const FileCall& call) {
    const int64_t now = hubNowNs();
    char number[24] = "";
    if (call.kind == FileCall::Kind::kOpen || call.kind == FileCall::Kind::kIoctl) {
        std::snprintf(number, sizeof(number), " 0x%lx", call.number);
    }
    const std::string hex = hexOf(call.bytes.substr(0, kTracedBytes));
    std::fprintf(
        stderr, "%6" PRId64 ".%06" PRId64 " %5d %-5s %s%s%s%s%s = %ld%s%s\n", now / 1'000'000'000,
        now % 1'000'000'000 / 1000, static_cast<int>(syscall(SYS_gettid)), nameOf(call.kind),
        printable(call.path).c_str(), number, hex.empty() ? "" : " ", hex.c_str(),
        call.bytes.size() > kTracedBytes ? "..." : "", call.result, call.result < 0 ? " " : "",
        call.result < 0 ? std::strerror(static_cast<int>(-call.result)) : "");
}

}  // namespace subhalctl
