// Replacements for further calls that a simulated hub needs: those on paths, and poll.

#include <poll.h>

#include <cerrno>

#include "simulator/FileTap.h"

namespace simulator {
namespace {

NextFunction<int(const char*)> gUnlink("unlink");
NextFunction<int(const char*, int)> gAccess("access");
NextFunction<int(const char*, void*)> gStat("stat");
NextFunction<int(const char*, void*)> gStat64("stat64");
NextFunction<int(const char*, void*)> gStat64Time64("__stat64_time64");  // not on every target
NextFunction<int(struct pollfd*, nfds_t, int)> gPoll("poll");

__attribute__((constructor)) void lookUpAll() {
    lookUp(gUnlink, gAccess, gStat, gStat64, gStat64Time64, gPoll);
}

/** Makes the call on the real path of `path`. */
template <typename Function, typename... Arguments>
int onRealPath(NextFunction<Function>& call, const char* path, Arguments... arguments) {
    std::string inHub;
    TappedFiles* hub = tappedFiles(path, &inHub);
    if (hub == nullptr) return call(path, arguments...);
    return call(hub->realPath(inHub).c_str(), arguments...);
}

/** The tap if one of the hub's descriptors is among these, else null. */
TappedFiles* tappedFilesOf(const struct pollfd* fds, nfds_t count) {
    for (nfds_t i = 0; i < count; ++i) {
        if (TappedFiles* hub = tappedFiles(fds[i].fd)) return hub;
    }
    return nullptr;
}

}  // namespace

extern "C" {

/** Named by the link options, so that the linker always takes this file from the archive. */
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
    TappedFiles* hub = tappedFilesOf(fds, count);
    if (hub == nullptr) return gPoll(fds, count, timeout);
    if (const int error = hub->enterPoll()) {
        errno = error;
        return -1;
    }
    const int result = gPoll(fds, count, timeout);
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
