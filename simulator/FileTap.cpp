// The C library's calls, defined anew in the program so that they come before the library's own.
// They run in every thread from before main() to after it, so everything they touch is constant
// initialised and a program that taps nothing pays one load per call.
//
// Each has a name of its own here and the call's as its label: C libraries declare these calls
// differently, and fortified headers wrap them. An argument that a call need not have comes as a
// plain one does, with no meaning then.

#include "simulator/FileTap.h"

#include <fcntl.h>

#include <array>
#include <atomic>
#include <cerrno>

#include "simulator/NextFunction.h"
#include "simulator/NodePaths.h"

namespace simulator {
namespace {

constexpr int kMaxDescriptors = 65536;

std::atomic<TappedFiles*> gFiles{nullptr};
std::array<std::atomic<uint32_t>, kMaxDescriptors> gNodes{};
std::atomic<CallObserver*> gObserver{nullptr};

TappedFiles* tapped() {
    return gFiles.load(std::memory_order_acquire);
}

/** Runs `tell` on the observer, if there is one, without touching errno. */
template <typename Tell>
void tellObserver(Tell tell) {
    CallObserver* observer = gObserver.load(std::memory_order_acquire);
    if (observer == nullptr) return;
    const int saved = errno;
    tell(*observer);
    errno = saved;
}

NextFunction<int(const char*, int, ...)> gOpen("open");
NextFunction<int(int, const char*, int, ...)> gOpenAt("openat");
NextFunction<DIR*(const char*)> gOpendir("opendir");
NextFunction<int(const char*)> gRemove("remove");
NextFunction<ssize_t(int, void*, size_t)> gRead("read");
NextFunction<ssize_t(int, const void*, size_t)> gWrite("write");
NextFunction<int(int, unsigned long, ...)> gIoctl("ioctl");
NextFunction<int(int)> gClose("close");

__attribute__((constructor)) void lookUpAll() {
    lookUp(gOpen, gOpenAt, gOpendir, gRemove, gRead, gWrite, gIoctl, gClose);
}

uint32_t nodeOf(int fd) {
    if (fd < 0 || fd >= kMaxDescriptors) return 0;
    return gNodes[static_cast<size_t>(fd)].load(std::memory_order_acquire);
}

void setNode(int fd, uint32_t node) {
    if (fd < 0 || fd >= kMaxDescriptors) return;
    gNodes[static_cast<size_t>(fd)].store(node, std::memory_order_release);
}

/** What stands behind the descriptor, null for an ordinary one. */
TappedFiles* tapped(int fd) {
    return nodeOf(fd) != 0 ? tapped() : nullptr;
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

template <typename Result>
Result orErrno(Result result) {
    return result >= 0 ? result : -errno;
}

/** Opens one of the hub's files. False when it is none. */
bool openTapped(const char* path, int flags, mode_t mode, int* result) {
    TappedFiles* files = tapped();
    const std::string inHub = files != nullptr ? hubPath(path) : "";
    if (inHub.empty()) return false;
    uint32_t node = 0;
    const int fd = files->open(inHub, flags, mode, &node);
    if (fd >= 0) setNode(fd, node);
    tellObserver([&](CallObserver& observer) { observer.opened(inHub, flags, fd); });
    *result = withErrno(fd);
    return true;
}

/** There is a mode only when a file may be created. */
mode_t modeFor(int flags, mode_t mode) {
    const bool creates = (flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE;
    return creates ? mode : 0;
}

}  // namespace

int TappedFiles::open(const std::string& path, int flags, mode_t mode, uint32_t* node) {
    *node = 1;
    return orErrno(real::open(path.c_str(), flags, mode));
}
ssize_t TappedFiles::read(uint32_t, int fd, void* buffer, size_t size) {
    return orErrno(real::read(fd, buffer, size));
}
ssize_t TappedFiles::write(uint32_t, int fd, const void* buffer, size_t size) {
    return orErrno(real::write(fd, buffer, size));
}
int TappedFiles::ioctl(uint32_t, int fd, unsigned long request, void* argument) {
    return orErrno(gIoctl.get()(fd, request, argument));
}
int TappedFiles::close(uint32_t) {
    return 0;
}
DIR* TappedFiles::openDirectory(const std::string& path) {
    return real::opendir(path.c_str());
}
int TappedFiles::remove(const std::string& path) {
    return orErrno(real::remove(path.c_str()));
}

bool tapFiles(TappedFiles* files) {
    TappedFiles* none = nullptr;
    return gFiles.compare_exchange_strong(none, files);
}

void untapFiles() {
    gFiles.store(nullptr);
    for (auto& node : gNodes)
        node.store(0, std::memory_order_release);
}

void observeCalls(CallObserver* observer) {
    gObserver.store(observer);
}

bool isTapped(int fd) {
    return nodeOf(fd) != 0;
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
DIR* opendir(const char* path) {
    return gOpendir.get()(path);
}
int remove(const char* path) {
    return gRemove.get()(path);
}
}  // namespace real

extern "C" {

/** Named by the link options, so that a program takes this file from the archive in any case. */
extern const int simulatorFileTap;
const int simulatorFileTap = 1;

int tapOpen(const char* path, int flags, mode_t mode) __asm__("open");
int tapOpen(const char* path, int flags, mode_t mode) {
    mode = modeFor(flags, mode);
    int fd = -1;
    return openTapped(path, flags, mode, &fd) ? fd : ordinary(real::open(path, flags, mode));
}
int tapOpen64(const char*, int, mode_t) __asm__("open64") __attribute__((alias("open")));
int tapOpen2(const char*, int, mode_t) __asm__("__open_2") __attribute__((alias("open")));
int tapOpen642(const char*, int, mode_t) __asm__("__open64_2") __attribute__((alias("open")));

int tapOpenAt(int directory, const char* path, int flags, mode_t mode) __asm__("openat");
int tapOpenAt(int directory, const char* path, int flags, mode_t mode) {
    mode = modeFor(flags, mode);
    const bool fromRoot = path != nullptr && (path[0] == '/' || directory == AT_FDCWD);
    int fd = -1;
    if (fromRoot && openTapped(path, flags, mode, &fd)) return fd;
    return ordinary(gOpenAt.get()(directory, path, flags, mode));
}
int tapOpenAt64(int, const char*, int, mode_t) __asm__("openat64") __attribute__((alias("openat")));

int tapCreat(const char* path, mode_t mode) __asm__("creat");
int tapCreat(const char* path, mode_t mode) {
    return tapOpen(path, O_WRONLY | O_CREAT | O_TRUNC, mode);
}

ssize_t tapRead(int fd, void* buffer, size_t size) __asm__("read");
ssize_t tapRead(int fd, void* buffer, size_t size) {
    TappedFiles* files = tapped(fd);
    if (files == nullptr) return real::read(fd, buffer, size);
    const ssize_t result = files->read(nodeOf(fd), fd, buffer, size);
    tellObserver([&](CallObserver& observer) { observer.wasRead(fd, buffer, size, result); });
    return withErrno(result);
}

ssize_t tapReadChecked(int fd, void* buffer, size_t size, size_t room) __asm__("__read_chk");
ssize_t tapReadChecked(int fd, void* buffer, size_t size, size_t room) {
    if (size > room) __builtin_trap();
    return tapRead(fd, buffer, size);
}

ssize_t tapWrite(int fd, const void* buffer, size_t size) __asm__("write");
ssize_t tapWrite(int fd, const void* buffer, size_t size) {
    TappedFiles* files = tapped(fd);
    if (files == nullptr) return real::write(fd, buffer, size);
    const ssize_t result = files->write(nodeOf(fd), fd, buffer, size);
    tellObserver([&](CallObserver& observer) { observer.written(fd, buffer, size, result); });
    return withErrno(result);
}

ssize_t tapWriteChecked(int fd, const void* buffer, size_t size,
                        size_t room) __asm__("__write_chk");
ssize_t tapWriteChecked(int fd, const void* buffer, size_t size, size_t room) {
    if (size > room) __builtin_trap();
    return tapWrite(fd, buffer, size);
}

// Not every C library takes a long; the upper half is then undefined.
int tapIoctl(int fd, uint32_t request, void* argument) __asm__("ioctl");
int tapIoctl(int fd, uint32_t request, void* argument) {
    TappedFiles* files = tapped(fd);
    if (files == nullptr) return gIoctl.get()(fd, request, argument);
    const int result = files->ioctl(nodeOf(fd), fd, request, argument);
    tellObserver(
        [&](CallObserver& observer) { observer.controlled(fd, request, argument, result); });
    return withErrno(result);
}
// Called on 32-bit targets by programs that are built for late times.
int tapIoctlTime64(int, uint32_t, void*) __asm__("__ioctl_time64") __attribute__((alias("ioctl")));

int tapClose(int fd) __asm__("close");
int tapClose(int fd) {
    int error = 0;
    if (const uint32_t node = nodeOf(fd)) {
        tellObserver([&](CallObserver& observer) { observer.closing(fd); });
        setNode(fd, 0);
        TappedFiles* files = tapped();
        if (files != nullptr) error = files->close(node);
    }
    const int result = real::close(fd);
    if (error == 0) return result;
    errno = error;
    return -1;
}

DIR* tapOpendir(const char* path) __asm__("opendir");
DIR* tapOpendir(const char* path) {
    TappedFiles* files = tapped();
    const std::string inHub = files != nullptr ? hubPath(path) : "";
    if (inHub.empty()) return real::opendir(path);
    DIR* directory = files->openDirectory(inHub);
    const int result = directory != nullptr ? 0 : -errno;
    tellObserver([&](CallObserver& observer) { observer.openedDirectory(inHub, result); });
    return directory;
}

int tapRemove(const char* path) __asm__("remove");
int tapRemove(const char* path) {
    TappedFiles* files = tapped();
    const std::string inHub = files != nullptr ? hubPath(path) : "";
    if (inHub.empty()) return real::remove(path);
    const int result = files->remove(inHub);
    tellObserver([&](CallObserver& observer) { observer.removed(inHub, result); });
    return withErrno(result);
}

}  // extern "C"

}  // namespace simulator
