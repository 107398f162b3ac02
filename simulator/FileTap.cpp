// Replacements for calls of the C library. They run in every thread from before main() to after
// it, so everything they touch is constant initialised. Without a tap a call costs one load more.
//
// Each function has its own name and the call's name as its label: C libraries declare these calls
// differently, and fortified headers wrap them. An optional argument is declared as a plain one and
// has no meaning when the caller omits it.

#include "simulator/FileTap.h"

#include <dirent.h>
#include <fcntl.h>
#include <poll.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <mutex>
#include <set>

#include "simulator/NodePaths.h"

namespace simulator {
namespace {

constexpr int kMaxDescriptors = 65536;

constexpr size_t kBatchBytes = 24;  // of the record behind a request that encodes a size of 8

std::atomic<TappedFiles*> gFiles{nullptr};
std::array<std::atomic<const std::string*>, kMaxDescriptors> gPaths{};
std::atomic<const CallObserver*> gObserver{nullptr};

using Kind = FileCall::Kind;

NextFunction<int(int, const char*, int, ...)> gOpenAt("openat");
NextFunction<DIR*(const char*)> gOpendir("opendir");
NextFunction<int(const char*)> gRemove("remove");
NextFunction<int(const char*)> gUnlink("unlink");
NextFunction<int(const char*, int)> gAccess("access");
NextFunction<int(const char*, void*)> gStat("stat");
NextFunction<int(const char*, void*)> gStat64("stat64");
NextFunction<int(const char*, void*)> gStat64Time64("__stat64_time64");  // not on every target
NextFunction<int(int, unsigned long, ...)> gIoctl("ioctl");
NextFunction<int(struct pollfd*, nfds_t, int)> gPoll("poll");

__attribute__((constructor)) void lookUpAll() {
    lookUp(real::open, gOpenAt, gOpendir, gRemove, gUnlink, gAccess, gStat, gStat64, gStat64Time64,
           real::read, real::write, gIoctl, real::close, gPoll);
}

/** As which file of the hub the descriptor was opened; null for an ordinary one. */
const std::string* pathOf(int fd) {
    if (fd < 0 || fd >= kMaxDescriptors) return nullptr;
    return gPaths[static_cast<size_t>(fd)].load(std::memory_order_acquire);
}

/** @param path null for an ordinary descriptor */
void setPath(int fd, const std::string* path) {
    if (fd < 0 || fd >= kMaxDescriptors) return;
    gPaths[static_cast<size_t>(fd)].store(path, std::memory_order_release);
}

/** The same text, which stays. */
const std::string* kept(const std::string& path) {
    static std::mutex mutex;
    static auto* const paths = new std::set<std::string>;
    const std::lock_guard<std::mutex> lock(mutex);
    return &*paths->insert(path).first;
}

/** The tap if the descriptor is one of the hub's, whose path `**path` is; else null. */
TappedFiles* tappedFiles(int fd, const std::string** path) {
    *path = pathOf(fd);  // once: another thread may close the descriptor
    return *path != nullptr ? gFiles.load(std::memory_order_acquire) : nullptr;
}

/** The tap if `path` is one of the hub's, whose absolute form `*inHub` becomes; else null. */
TappedFiles* tappedFiles(const char* path, std::string* inHub) {
    TappedFiles* files = gFiles.load(std::memory_order_acquire);
    if (files == nullptr) return nullptr;
    *inHub = hubPath(path);
    return inHub->empty() ? nullptr : files;
}

/** The number may have been one of the hub's, whose close bypassed the tap. */
int ordinary(int fd) {
    if (pathOf(fd) != nullptr) setPath(fd, nullptr);
    return fd;
}

template <typename Result>
Result orErrno(Result result) {
    return result >= 0 ? result : -errno;
}

/** Shows a call to the observer, if there is one. What the caller gets: the result, or -1. */
template <typename Result>
Result shown(Kind kind, const std::string& path, unsigned long number, const void* data,
             size_t size, Result result) {
    const int saved = errno;
    if (const CallObserver* observer = gObserver.load(std::memory_order_acquire))
        (*observer)({kind, path, number, {static_cast<const char*>(data), size}, result});
    errno = result < 0 ? static_cast<int>(-result) : saved;
    return std::max<Result>(result, -1);
}

/** Opens one of the hub's files. Returns false for any other path. */
bool openTapped(const char* path, int flags, mode_t mode, int* result) {
    std::string inHub;
    TappedFiles* files = tappedFiles(path, &inHub);
    if (files == nullptr) return false;
    const int fd = files->open(inHub, flags, mode);
    if (fd >= 0) setPath(fd, kept(inHub));
    *result = shown(Kind::kOpen, inHub, static_cast<unsigned>(flags), nullptr, 0, fd);
    return true;
}

/** Makes the call on the real path of `path`. */
template <typename Function, typename... Arguments>
int onRealPath(NextFunction<Function>& call, const char* path, Arguments... arguments) {
    std::string inHub;
    TappedFiles* files = tappedFiles(path, &inHub);
    if (files == nullptr) return call(path, arguments...);
    return call(files->realPath(inHub).c_str(), arguments...);
}

/** The tap if one of the hub's descriptors is among these, else null. */
TappedFiles* tappedFilesOf(const struct pollfd* fds, nfds_t count) {
    for (nfds_t i = 0; i < count; ++i) {
        const std::string* path = nullptr;
        if (TappedFiles* files = tappedFiles(fds[i].fd, &path)) return files;
    }
    return nullptr;
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

int TappedFiles::open(const std::string& path, int flags, mode_t mode) {
    return orErrno(real::open(path.c_str(), flags, mode));
}
ssize_t TappedFiles::read(const std::string&, int fd, void* buffer, size_t size) {
    return orErrno(real::read(fd, buffer, size));
}
ssize_t TappedFiles::write(const std::string&, int fd, const void* buffer, size_t size) {
    return orErrno(real::write(fd, buffer, size));
}
int TappedFiles::ioctl(const std::string&, int fd, unsigned long request, void* argument) {
    return orErrno(gIoctl(fd, request, argument));
}

bool tapFiles(TappedFiles* files) {
    TappedFiles* none = nullptr;
    return gFiles.compare_exchange_strong(none, files);
}

void untapFiles() {
    gFiles.store(nullptr);
    for (auto& path : gPaths)
        path.store(nullptr, std::memory_order_release);
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
    const std::string* path = nullptr;
    TappedFiles* files = tappedFiles(fd, &path);
    if (files == nullptr) return real::read(fd, buffer, size);
    const ssize_t result = files->read(*path, fd, buffer, size);
    const auto count = static_cast<size_t>(std::max<ssize_t>(result, 0));
    return shown(Kind::kRead, *path, size, buffer, count, result);
}

ssize_t tapReadChecked(int fd, void* buffer, size_t size, size_t room) __asm__("__read_chk");
ssize_t tapReadChecked(int fd, void* buffer, size_t size, size_t room) {
    if (size > room) __builtin_trap();
    return tapRead(fd, buffer, size);
}

ssize_t tapWrite(int fd, const void* buffer, size_t size) __asm__("write");
ssize_t tapWrite(int fd, const void* buffer, size_t size) {
    const std::string* path = nullptr;
    TappedFiles* files = tappedFiles(fd, &path);
    if (files == nullptr) return real::write(fd, buffer, size);
    const ssize_t result = files->write(*path, fd, buffer, size);
    return shown(Kind::kWrite, *path, size, buffer, size, result);
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
    const std::string* path = nullptr;
    TappedFiles* files = tappedFiles(fd, &path);
    if (files == nullptr) return gIoctl(fd, request, argument);
    const int result = files->ioctl(*path, fd, request, argument);
    const bool isBatch = *path == kBatchPath && argument != nullptr;
    return shown(Kind::kIoctl, *path, request, argument, isBatch ? kBatchBytes : 0, result);
}
// Called on 32-bit targets by programs with 64-bit time_t.
int tapIoctlTime64(int, uint32_t, void*) __asm__("__ioctl_time64") __attribute__((alias("ioctl")));

int tapClose(int fd) __asm__("close");
int tapClose(int fd) {
    int error = 0;
    const std::string* path = nullptr;
    if (TappedFiles* files = tappedFiles(fd, &path)) {
        error = files->close(*path);
        shown(Kind::kClose, *path, 0, nullptr, 0, -error);
        setPath(fd, nullptr);
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
    shown(Kind::kOpendir, inHub, 0, nullptr, 0, directory != nullptr ? 0 : -errno);
    return directory;
}

int tapRemove(const char* path) __asm__("remove");
int tapRemove(const char* path) {
    std::string inHub;
    TappedFiles* files = tappedFiles(path, &inHub);
    if (files == nullptr) return gRemove(path);
    const int result = orErrno(gRemove(files->realPath(inHub).c_str()));
    return shown(Kind::kRemove, inHub, 0, nullptr, 0, result);
}

int tapUnlink(const char* path) __asm__("unlink");
int tapUnlink(const char* path) {
    return onRealPath(gUnlink, path);
}

int tapAccess(const char* path, int mode) __asm__("access");
int tapAccess(const char* path, int mode) {
    return onRealPath(gAccess, path, mode);
}

int tapStat(const char* path, void* status) __asm__("stat");
int tapStat(const char* path, void* status) {
    return onRealPath(gStat, path, status);
}

int tapStat64(const char* path, void* status) __asm__("stat64");
int tapStat64(const char* path, void* status) {
    return onRealPath(gStat64, path, status);
}

int tapStat64Time64(const char* path, void* status) __asm__("__stat64_time64");
int tapStat64Time64(const char* path, void* status) {
    return onRealPath(gStat64Time64, path, status);
}

int tapPoll(struct pollfd* fds, nfds_t count, int timeout) __asm__("poll");
int tapPoll(struct pollfd* fds, nfds_t count, int timeout) {
    TappedFiles* files = tappedFilesOf(fds, count);
    if (files == nullptr) return gPoll(fds, count, timeout);
    if (const int error = files->enterPoll()) {
        errno = error;
        return -1;
    }
    const int result = gPoll(fds, count, timeout);
    const int savedErrno = errno;
    files->leavePoll();
    errno = savedErrno;
    return result;
}

int tapPollChecked(struct pollfd* fds, nfds_t count, int timeout,
                   size_t room) __asm__("__poll_chk");
int tapPollChecked(struct pollfd* fds, nfds_t count, int timeout, size_t room) {
    if (room / sizeof(*fds) < count) __builtin_trap();
    return tapPoll(fds, count, timeout);
}

}  // extern "C"

}  // namespace simulator
