// The C library's calls, defined anew in the program so that they come before the library's own.
// They run in every thread from before main() to after it, so everything they touch is constant
// initialised and a program without a hub pays one load per call.

#include "simulator/FileRedirection.h"

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstring>

#include "simulator/NodePaths.h"

namespace simulator {
namespace {

constexpr int kMaxDescriptors = 65536;

std::atomic<FileBackend*> gBackend{nullptr};
std::array<std::atomic<uint32_t>, kMaxDescriptors> gNodes{};

FileBackend* backend() {
    return gBackend.load(std::memory_order_acquire);
}

std::atomic<CallObserver*> gObserver{nullptr};

/** Runs `tell` on the observer, if there is one, without touching errno. */
template <typename Tell>
void tellObserver(Tell tell) {
    CallObserver* observer = gObserver.load(std::memory_order_acquire);
    if (observer == nullptr) return;
    const int saved = errno;
    tell(*observer);
    errno = saved;
}

/** The next definition of a C library function behind ours, looked up once. */
template <typename Function>
class Next {
  public:
    explicit constexpr Next(const char* name) : mName(name) {}

    Function* get() {
        void* address = mAddress.load(std::memory_order_acquire);
        if (address == nullptr) {
            address = dlsym(RTLD_NEXT, mName);
            mAddress.store(address, std::memory_order_release);
        }
        return reinterpret_cast<Function*>(address);
    }

  private:
    const char* mName;
    std::atomic<void*> mAddress{nullptr};
};

Next<int(const char*, int, ...)> gOpen("open");
Next<int(int, const char*, int, ...)> gOpenAt("openat");
Next<DIR*(const char*)> gOpendir("opendir");
Next<int(const char*)> gRemove("remove");
Next<int(const char*)> gUnlink("unlink");
Next<int(const char*, int)> gAccess("access");
Next<int(const char*, struct stat*)> gStat("stat");
Next<int(const char*, struct stat64*)> gStat64("stat64");
#if __TIMESIZE == 32
Next<int(const char*, void*)> gStat64Time64("__stat64_time64");
#endif
Next<ssize_t(int, void*, size_t)> gRead("read");
Next<ssize_t(int, const void*, size_t)> gWrite("write");
Next<int(int, unsigned long, ...)> gIoctl("ioctl");
Next<int(int)> gClose("close");
Next<int(struct pollfd*, nfds_t, int)> gPoll("poll");

/**
 * Looks everything up before main(): dlsym() waits for the loader's lock, and a thread that first
 * needed it while dlclose() waits for that very thread would never get it.
 */
__attribute__((constructor)) void resolveAll() {
    gOpen.get();
    gOpenAt.get();
    gOpendir.get();
    gRemove.get();
    gUnlink.get();
    gAccess.get();
    gStat.get();
    gStat64.get();
#if __TIMESIZE == 32
    gStat64Time64.get();
#endif
    gRead.get();
    gWrite.get();
    gIoctl.get();
    gClose.get();
    gPoll.get();
}

uint32_t nodeOf(int fd) {
    if (fd < 0 || fd >= kMaxDescriptors) return 0;
    return gNodes[static_cast<size_t>(fd)].load(std::memory_order_acquire);
}

void setNode(int fd, uint32_t node) {
    if (fd < 0 || fd >= kMaxDescriptors) return;
    gNodes[static_cast<size_t>(fd)].store(node, std::memory_order_release);
}

/** A number handed out by an ordinary open cannot stand for a hub's file any more. */
int ordinary(int fd) {
    if (nodeOf(fd) != 0) setNode(fd, 0);
    return fd;
}

template <typename Result>
Result withErrno(Result result) {
    if (result >= 0) return result;
    errno = static_cast<int>(-result);
    return -1;
}

int openInHub(FileBackend& hub, const std::string& path, int flags, mode_t mode) {
    uint32_t node = 0;
    const int fd = hub.open(path, flags, mode, &node);
    if (fd >= 0) setNode(fd, node);
    tellObserver([&](CallObserver& observer) { observer.opened(path, flags, fd); });
    return withErrno(fd);
}

int openFile(const char* path, int flags, mode_t mode) {
    if (FileBackend* hub = backend()) {
        const std::string inHub = hubPath(path);
        if (!inHub.empty()) return openInHub(*hub, inHub, flags, mode);
    }
    return ordinary(gOpen.get()(path, flags, mode));
}

int openFileAt(int directory, const char* path, int flags, mode_t mode) {
    const bool fromRoot = path != nullptr && (path[0] == '/' || directory == AT_FDCWD);
    FileBackend* hub = backend();
    if (hub != nullptr && fromRoot) {
        const std::string inHub = hubPath(path);
        if (!inHub.empty()) return openInHub(*hub, inHub, flags, mode);
    }
    return ordinary(gOpenAt.get()(directory, path, flags, mode));
}

/** Runs `call` on the path that `path` stands for. */
template <typename Call>
auto onRealPath(const char* path, Call call) {
    if (FileBackend* hub = backend()) {
        const std::string inHub = hubPath(path);
        if (!inHub.empty()) return call(hub->realPath(inHub).c_str());
    }
    return call(path);
}

ssize_t readFile(int fd, void* buffer, size_t size) {
    const uint32_t node = nodeOf(fd);
    FileBackend* hub = node != 0 ? backend() : nullptr;
    if (hub == nullptr) return gRead.get()(fd, buffer, size);
    const ssize_t result = hub->read(node, fd, buffer, size);
    tellObserver([&](CallObserver& observer) { observer.wasRead(fd, buffer, size, result); });
    return withErrno(result);
}

int controlFile(int fd, unsigned long request, void* argument) {
    const uint32_t node = nodeOf(fd);
    FileBackend* hub = node != 0 ? backend() : nullptr;
    if (hub == nullptr) return gIoctl.get()(fd, request, argument);
    const int result = hub->ioctl(node, fd, request, argument);
    tellObserver(
        [&](CallObserver& observer) { observer.controlled(fd, request, argument, result); });
    return withErrno(result);
}

/** Forgets the descriptor and returns the errno with which its close is to fail, or 0. */
int forget(int fd) {
    const uint32_t node = nodeOf(fd);
    if (node == 0) return 0;
    tellObserver([&](CallObserver& observer) { observer.closing(fd); });
    setNode(fd, 0);
    FileBackend* hub = backend();
    return hub != nullptr ? hub->close(node) : 0;
}

bool watchesHub(const struct pollfd* fds, nfds_t count) {
    for (nfds_t i = 0; i < count; ++i) {
        if (nodeOf(fds[i].fd) != 0) return true;
    }
    return false;
}

int pollFiles(struct pollfd* fds, nfds_t count, int timeout) {
    FileBackend* hub = backend();
    if (hub == nullptr || !watchesHub(fds, count)) return gPoll.get()(fds, count, timeout);
    if (const int error = hub->enterPoll()) {
        errno = error;
        return -1;
    }
    const int result = gPoll.get()(fds, count, timeout);
    const int savedErrno = errno;
    hub->leavePoll();
    errno = savedErrno;
    return result;
}

/** The mode behind the flags, which is there only when a file may be created. */
mode_t modeArgument(int flags, va_list arguments) {
    return (flags & (O_CREAT | __O_TMPFILE)) != 0 ? va_arg(arguments, mode_t) : 0;
}

}  // namespace

bool installBackend(FileBackend* newBackend) {
    FileBackend* none = nullptr;
    return gBackend.compare_exchange_strong(none, newBackend);
}

void removeBackend() {
    gBackend.store(nullptr);
    for (auto& node : gNodes)
        node.store(0, std::memory_order_release);
}

void observeCalls(CallObserver* observer) {
    gObserver.store(observer);
}

namespace real {
ssize_t read(int fd, void* buffer, size_t size) {
    return gRead.get()(fd, buffer, size);
}
ssize_t write(int fd, const void* buffer, size_t size) {
    return gWrite.get()(fd, buffer, size);
}
int open(const char* path, int flags, mode_t mode) {
    return gOpen.get()(path, flags, mode);
}
int close(int fd) {
    return gClose.get()(fd);
}
}  // namespace real

}  // namespace simulator

extern "C" {

/** Named by the link options, so that a program takes this file from the archive in any case. */
extern const int simulatorFileRedirection;
const int simulatorFileRedirection = 1;

int open(const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = simulator::modeArgument(flags, arguments);
    va_end(arguments);
    return simulator::openFile(path, flags, mode);
}

int open64(const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = simulator::modeArgument(flags, arguments);
    va_end(arguments);
    return simulator::openFile(path, flags, mode);
}

int openat(int directory, const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = simulator::modeArgument(flags, arguments);
    va_end(arguments);
    return simulator::openFileAt(directory, path, flags, mode);
}

int openat64(int directory, const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = simulator::modeArgument(flags, arguments);
    va_end(arguments);
    return simulator::openFileAt(directory, path, flags, mode);
}

int __open_2(const char* path, int flags);
int __open_2(const char* path, int flags) {
    return simulator::openFile(path, flags, 0);
}

int __open64_2(const char* path, int flags);
int __open64_2(const char* path, int flags) {
    return simulator::openFile(path, flags, 0);
}

int creat(const char* path, mode_t mode) {
    return simulator::openFile(path, O_WRONLY | O_CREAT | O_TRUNC, mode);
}

DIR* opendir(const char* path) {
    if (simulator::FileBackend* hub = simulator::backend()) {
        const std::string inHub = simulator::hubPath(path);
        const int error = inHub.empty() ? 0 : hub->enterDirectory(inHub);
        if (error != 0) {
            errno = error;
            return nullptr;
        }
    }
    return simulator::onRealPath(path, [](const char* p) { return simulator::gOpendir.get()(p); });
}

int remove(const char* path) noexcept {
    return simulator::onRealPath(path, [](const char* p) { return simulator::gRemove.get()(p); });
}

int unlink(const char* path) noexcept {
    return simulator::onRealPath(path, [](const char* p) { return simulator::gUnlink.get()(p); });
}

int access(const char* path, int mode) noexcept {
    return simulator::onRealPath(
        path, [mode](const char* p) { return simulator::gAccess.get()(p, mode); });
}

int stat(const char* path, struct stat* status) noexcept {
    return simulator::onRealPath(
        path, [status](const char* p) { return simulator::gStat.get()(p, status); });
}

int stat64(const char* path, struct stat64* status) noexcept {
    return simulator::onRealPath(
        path, [status](const char* p) { return simulator::gStat64.get()(p, status); });
}

ssize_t read(int fd, void* buffer, size_t size) {
    return simulator::readFile(fd, buffer, size);
}

ssize_t __read_chk(int fd, void* buffer, size_t size, size_t bufferSize);
ssize_t __read_chk(int fd, void* buffer, size_t size, size_t bufferSize) {
    if (size > bufferSize) __builtin_trap();
    return simulator::readFile(fd, buffer, size);
}

ssize_t write(int fd, const void* buffer, size_t size) {
    const uint32_t node = simulator::nodeOf(fd);
    simulator::FileBackend* hub = node != 0 ? simulator::backend() : nullptr;
    if (hub == nullptr) return simulator::gWrite.get()(fd, buffer, size);
    const ssize_t result = hub->write(node, fd, buffer, size);
    simulator::tellObserver(
        [&](simulator::CallObserver& observer) { observer.written(fd, buffer, size, result); });
    return simulator::withErrno(result);
}

int ioctl(int fd, unsigned long request, ...) noexcept {
    va_list arguments;
    va_start(arguments, request);
    void* argument = va_arg(arguments, void*);
    va_end(arguments);
    return simulator::controlFile(fd, request, argument);
}

#if __TIMESIZE == 32
// The names that programs built for late times call on 32-bit targets.
int __ioctl_time64(int fd, unsigned long request, ...) noexcept;
int __ioctl_time64(int fd, unsigned long request, ...) noexcept {
    va_list arguments;
    va_start(arguments, request);
    void* argument = va_arg(arguments, void*);
    va_end(arguments);
    return simulator::controlFile(fd, request, argument);
}

int __stat64_time64(const char* path, void* status) noexcept;
int __stat64_time64(const char* path, void* status) noexcept {
    return simulator::onRealPath(
        path, [status](const char* p) { return simulator::gStat64Time64.get()(p, status); });
}
#endif

int close(int fd) {
    const int error = simulator::forget(fd);
    const int result = simulator::gClose.get()(fd);
    if (error == 0) return result;
    errno = error;
    return -1;
}

int poll(struct pollfd* fds, nfds_t count, int timeout) {
    return simulator::pollFiles(fds, count, timeout);
}

int __poll_chk(struct pollfd* fds, nfds_t count, int timeout, size_t fdsSize);
int __poll_chk(struct pollfd* fds, nfds_t count, int timeout, size_t fdsSize) {
    if (fdsSize / sizeof(*fds) < count) __builtin_trap();
    return simulator::pollFiles(fds, count, timeout);
}

}  // extern "C"
