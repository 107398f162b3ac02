// Replacements for calls of the C library. They run in every thread from before main() to after
// it, so everything they touch is constant initialised and a program without a tap pays one load
// per call.
//
// Each function has its own name and the call's name as its label: C libraries declare these calls
// differently, and fortified headers wrap them. An optional argument is declared as a plain one and
// has no meaning when the caller omits it.

#include "simulator/FileTap.h"

#include <fcntl.h>

#include <array>
#include <atomic>
#include <cerrno>

#include "simulator/NodePaths.h"

namespace simulator {
namespace {

constexpr int kMaxDescriptors = 65536;

std::atomic<TappedFiles*> gFiles{nullptr};
std::array<std::atomic<void*>, kMaxDescriptors> gNodes{};
std::atomic<const CallObserver*> gObserver{nullptr};

/** Calls the observer, if there is one, without touching errno. */
void observe(const TappedCall& call) {
    const CallObserver* observer = gObserver.load(std::memory_order_acquire);
    if (observer == nullptr) return;
    const int saved = errno;
    (*observer)(call);
    errno = saved;
}

NextFunction<int(int, const char*, int, ...)> gOpenAt("openat");
NextFunction<DIR*(const char*)> gOpendir("opendir");
NextFunction<int(const char*)> gRemove("remove");
NextFunction<int(int, unsigned long, ...)> gIoctl("ioctl");

__attribute__((constructor)) void lookUpAll() {
    lookUp(real::open, gOpenAt, gOpendir, gRemove, real::read, real::write, gIoctl, real::close);
}

/** What the descriptor was opened with; null for an ordinary one. */
void* nodeOf(int fd) {
    if (fd < 0 || fd >= kMaxDescriptors) return nullptr;
    return gNodes[static_cast<size_t>(fd)].load(std::memory_order_acquire);
}

void setNode(int fd, void* node) {
    if (fd < 0 || fd >= kMaxDescriptors) return;
    gNodes[static_cast<size_t>(fd)].store(node, std::memory_order_release);
}

/** The number may have been one of the hub's, whose close bypassed the tap. */
int ordinary(int fd) {
    if (nodeOf(fd) != nullptr) setNode(fd, nullptr);
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

/** Opens one of the hub's files. Returns false for any other path. */
bool openTapped(const char* path, int flags, mode_t mode, int* result) {
    std::string inHub;
    TappedFiles* files = tappedFiles(path, &inHub);
    if (files == nullptr) return false;
    void* node = nullptr;
    const int fd = files->open(inHub, flags, mode, &node);
    if (fd >= 0) setNode(fd, node);
    observe({TappedCall::Kind::kOpen, -1, inHub, static_cast<unsigned>(flags), nullptr, fd});
    *result = withErrno(fd);
    return true;
}

/** A mode is passed only if a file may be created. */
mode_t modeFor(int flags, mode_t mode) {
    const bool creates = (flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE;
    return creates ? mode : 0;
}

}  // namespace

NextFunction<int(const char*, int, ...)> real::open("open");
NextFunction<ssize_t(int, void*, size_t)> real::read("read");
NextFunction<ssize_t(int, const void*, size_t)> real::write("write");
NextFunction<int(int)> real::close("close");

int TappedFiles::open(const std::string& path, int flags, mode_t mode, void** node) {
    *node = this;
    return orErrno(real::open(path.c_str(), flags, mode));
}
ssize_t TappedFiles::read(void*, int fd, void* buffer, size_t size) {
    return orErrno(real::read(fd, buffer, size));
}
ssize_t TappedFiles::write(void*, int fd, const void* buffer, size_t size) {
    return orErrno(real::write(fd, buffer, size));
}
int TappedFiles::ioctl(void*, int fd, unsigned long request, void* argument) {
    return orErrno(gIoctl(fd, request, argument));
}

bool tapFiles(TappedFiles* files) {
    TappedFiles* none = nullptr;
    return gFiles.compare_exchange_strong(none, files);
}

void untapFiles() {
    gFiles.store(nullptr);
    for (auto& node : gNodes)
        node.store(nullptr, std::memory_order_release);
}

TappedFiles* tappedFiles(int fd) {
    return nodeOf(fd) != nullptr ? gFiles.load(std::memory_order_acquire) : nullptr;
}

TappedFiles* tappedFiles(const char* path, std::string* inHub) {
    TappedFiles* files = gFiles.load(std::memory_order_acquire);
    if (files == nullptr) return nullptr;
    *inHub = hubPath(path);
    return inHub->empty() ? nullptr : files;
}

void observeCalls(const CallObserver* observer) {
    gObserver.store(observer);
}

extern "C" {

/** Named by the link options, so that the linker always takes this file from the archive. */
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
    return ordinary(gOpenAt(directory, path, flags, mode));
}
int tapOpenAt64(int, const char*, int, mode_t) __asm__("openat64") __attribute__((alias("openat")));

int tapCreat(const char* path, mode_t mode) __asm__("creat");
int tapCreat(const char* path, mode_t mode) {
    return tapOpen(path, O_WRONLY | O_CREAT | O_TRUNC, mode);
}

ssize_t tapRead(int fd, void* buffer, size_t size) __asm__("read");
ssize_t tapRead(int fd, void* buffer, size_t size) {
    TappedFiles* files = tappedFiles(fd);
    if (files == nullptr) return real::read(fd, buffer, size);
    const ssize_t result = files->read(nodeOf(fd), fd, buffer, size);
    observe({TappedCall::Kind::kRead, fd, "", size, buffer, result});
    return withErrno(result);
}

ssize_t tapReadChecked(int fd, void* buffer, size_t size, size_t room) __asm__("__read_chk");
ssize_t tapReadChecked(int fd, void* buffer, size_t size, size_t room) {
    if (size > room) __builtin_trap();
    return tapRead(fd, buffer, size);
}

ssize_t tapWrite(int fd, const void* buffer, size_t size) __asm__("write");
ssize_t tapWrite(int fd, const void* buffer, size_t size) {
    TappedFiles* files = tappedFiles(fd);
    if (files == nullptr) return real::write(fd, buffer, size);
    const ssize_t result = files->write(nodeOf(fd), fd, buffer, size);
    observe({TappedCall::Kind::kWrite, fd, "", size, buffer, result});
    return withErrno(result);
}

ssize_t tapWriteChecked(int fd, const void* buffer, size_t size,
                        size_t room) __asm__("__write_chk");
ssize_t tapWriteChecked(int fd, const void* buffer, size_t size, size_t room) {
    if (size > room) __builtin_trap();
    return tapWrite(fd, buffer, size);
}

// Some C libraries take an int, which leaves the upper half undefined.
int tapIoctl(int fd, uint32_t request, void* argument) __asm__("ioctl");
int tapIoctl(int fd, uint32_t request, void* argument) {
    TappedFiles* files = tappedFiles(fd);
    if (files == nullptr) return gIoctl(fd, request, argument);
    const int result = files->ioctl(nodeOf(fd), fd, request, argument);
    observe({TappedCall::Kind::kIoctl, fd, "", request, argument, result});
    return withErrno(result);
}
// Called on 32-bit targets by programs with 64-bit time_t.
int tapIoctlTime64(int, uint32_t, void*) __asm__("__ioctl_time64") __attribute__((alias("ioctl")));

int tapClose(int fd) __asm__("close");
int tapClose(int fd) {
    int error = 0;
    if (void* node = nodeOf(fd)) {
        TappedFiles* files = tappedFiles(fd);
        observe({TappedCall::Kind::kClose, fd, "", 0, nullptr, 0});
        setNode(fd, nullptr);
        if (files != nullptr) error = files->close(node);
    }
    const int result = real::close(fd);
    if (error == 0) return result;
    errno = error;
    return -1;
}

DIR* tapOpendir(const char* path) __asm__("opendir");
DIR* tapOpendir(const char* path) {
    std::string inHub;
    TappedFiles* files = tappedFiles(path, &inHub);
    if (files == nullptr) return gOpendir(path);
    const int error = files->enterDirectory(inHub);
    DIR* directory = error == 0 ? gOpendir(files->realPath(inHub).c_str()) : nullptr;
    if (error != 0) errno = error;
    observe({TappedCall::Kind::kOpendir, -1, inHub, 0, nullptr, directory != nullptr ? 0 : -errno});
    return directory;
}

int tapRemove(const char* path) __asm__("remove");
int tapRemove(const char* path) {
    std::string inHub;
    TappedFiles* files = tappedFiles(path, &inHub);
    if (files == nullptr) return gRemove(path);
    const int result = orErrno(gRemove(files->realPath(inHub).c_str()));
    observe({TappedCall::Kind::kRemove, -1, inHub, 0, nullptr, result});
    return withErrno(result);
}

}  // extern "C"

}  // namespace simulator
