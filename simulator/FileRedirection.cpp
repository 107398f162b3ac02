// The calls on paths, and poll, beside those of the tap; see there.

#include "simulator/FileRedirection.h"

#include <poll.h>

#include <atomic>
#include <cerrno>

#include "simulator/NextFunction.h"
#include "simulator/NodePaths.h"

namespace simulator {
namespace {

std::atomic<FileBackend*> gBackend{nullptr};

FileBackend* backend() {
    return gBackend.load(std::memory_order_acquire);
}

NextFunction<int(const char*)> gUnlink("unlink");
NextFunction<int(const char*, int)> gAccess("access");
NextFunction<int(const char*, void*)> gStat("stat");
NextFunction<int(const char*, void*)> gStat64("stat64");
NextFunction<int(const char*, void*)> gStat64Time64("__stat64_time64");  // not on each target
NextFunction<int(struct pollfd*, nfds_t, int)> gPoll("poll");

__attribute__((constructor)) void lookUpAll() {
    lookUp(gUnlink, gAccess, gStat, gStat64, gStat64Time64, gPoll);
}

/** Makes the call on the path that `path` stands for. */
template <typename Function, typename... Arguments>
int onRealPath(NextFunction<Function>& call, const char* path, Arguments... arguments) {
    FileBackend* hub = backend();
    const std::string inHub = hub != nullptr ? hubPath(path) : "";
    if (inHub.empty()) return call.get()(path, arguments...);
    return call.get()(hub->realPath(inHub).c_str(), arguments...);
}

bool watchesHub(const struct pollfd* fds, nfds_t count) {
    for (nfds_t i = 0; i < count; ++i) {
        if (isTapped(fds[i].fd)) return true;
    }
    return false;
}

}  // namespace

DIR* FileBackend::openDirectory(const std::string& hubPath) {
    const int error = enterDirectory(hubPath);
    if (error == 0) return real::opendir(realPath(hubPath).c_str());
    errno = error;
    return nullptr;
}

int FileBackend::remove(const std::string& hubPath) {
    return real::remove(realPath(hubPath).c_str()) == 0 ? 0 : -errno;
}

bool installBackend(FileBackend* newBackend) {
    if (!tapFiles(newBackend)) return false;
    gBackend.store(newBackend);
    return true;
}

void removeBackend() {
    gBackend.store(nullptr);
    untapFiles();
}

extern "C" {

/** Named by the link options, so that a program takes this file from the archive in any case. */
extern const int simulatorFileRedirection;
const int simulatorFileRedirection = 1;

int redirectedUnlink(const char* path) __asm__("unlink");
int redirectedUnlink(const char* path) {
    return onRealPath(gUnlink, path);
}

int redirectedAccess(const char* path, int mode) __asm__("access");
int redirectedAccess(const char* path, int mode) {
    return onRealPath(gAccess, path, mode);
}

int redirectedStat(const char* path, void* status) __asm__("stat");
int redirectedStat(const char* path, void* status) {
    return onRealPath(gStat, path, status);
}

int redirectedStat64(const char* path, void* status) __asm__("stat64");
int redirectedStat64(const char* path, void* status) {
    return onRealPath(gStat64, path, status);
}

int redirectedStat64Time64(const char* path, void* status) __asm__("__stat64_time64");
int redirectedStat64Time64(const char* path, void* status) {
    return onRealPath(gStat64Time64, path, status);
}

int redirectedPoll(struct pollfd* fds, nfds_t count, int timeout) __asm__("poll");
int redirectedPoll(struct pollfd* fds, nfds_t count, int timeout) {
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

int redirectedPollChecked(struct pollfd* fds, nfds_t count, int timeout,
                          size_t room) __asm__("__poll_chk");
int redirectedPollChecked(struct pollfd* fds, nfds_t count, int timeout, size_t room) {
    if (room / sizeof(*fds) < count) __builtin_trap();
    return redirectedPoll(fds, count, timeout);
}

}  // extern "C"

}  // namespace simulator
