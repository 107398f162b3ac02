#pragma once

#include <dirent.h>
#include <sys/types.h>

#include <functional>
#include <string>

#include "simulator/NextFunction.h"

namespace simulator {

/**
 * Handles the tapped calls on the hub's files; this base passes them to the machine's own files.
 * Results are the call's own, with a negative errno in place of -1. Runs on the calling thread.
 */
class TappedFiles {
  public:
    virtual ~TappedFiles() = default;

    virtual std::string realPath(const std::string& hubPath) const { return hubPath; }
    /** Called before a directory is opened; an errno becomes the result. */
    virtual int enterDirectory(const std::string& /*hubPath*/) { return 0; }
    /** Opens; sets `*node`, never to null, which the descriptor's later calls are passed. */
    virtual int open(const std::string& hubPath, int flags, mode_t mode, void** node);
    virtual ssize_t read(void* node, int fd, void* buffer, size_t size);
    virtual ssize_t write(void* node, int fd, const void* buffer, size_t size);
    virtual int ioctl(void* node, int fd, unsigned long request, void* argument);
    /** Called before the descriptor is closed; an errno becomes the result of the close. */
    virtual int close(void* /*node*/) { return 0; }
    /** A poll of at least one of the hub's descriptors begins; an errno ends it at once. */
    virtual int enterPoll() { return 0; }
    virtual void leavePoll() {}
};

/**
 * Directs the process's calls on the hub's files to `files` from now on. Returns false if others
 * are installed. Calls on every other path and descriptor are unchanged.
 */
bool tapFiles(TappedFiles* files);

/** Ends the tap; descriptors still open become ordinary ones. */
void untapFiles();

/** The tap if `fd` is one of the hub's, else null. */
TappedFiles* tappedFiles(int fd);
/** The tap if `path` is one of the hub's, whose absolute form `*inHub` becomes; else null. */
TappedFiles* tappedFiles(const char* path, std::string* inHub);

/** A tapped call right after it was made, or a close before it frees the descriptor's number. */
struct TappedCall {
    enum class Kind { kOpen, kRead, kWrite, kIoctl, kClose, kOpendir, kRemove };

    Kind kind;
    int fd;                ///< -1 where a path names the file
    std::string hubPath;   ///< empty where a descriptor names it
    unsigned long number;  ///< flags of an open, number of an ioctl, size of a read or write
    const void* data;      ///< buffer of a read or write, argument of an ioctl
    long result;           ///< as above
};

/** Runs on the thread that made the call. It may itself use ordinary files. */
using CallObserver = std::function<void(const TappedCall&)>;

/** Shows the calls to `observer` from now on; null for none. It outlives all threads that call. */
void observeCalls(const CallObserver* observer);

/** The C library's own functions, for use on tapped descriptors. */
namespace real {
extern NextFunction<int(const char*, int, ...)> open;
extern NextFunction<ssize_t(int, void*, size_t)> read;
extern NextFunction<ssize_t(int, const void*, size_t)> write;
extern NextFunction<int(int)> close;
}  // namespace real

}  // namespace simulator
