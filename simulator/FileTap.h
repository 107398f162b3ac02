#pragma once

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
    virtual int open(const std::string& hubPath, int flags, mode_t mode);
    // On a descriptor as which `hubPath` was opened.
    virtual ssize_t read(const std::string& hubPath, int fd, void* buffer, size_t size);
    virtual ssize_t write(const std::string& hubPath, int fd, const void* buffer, size_t size);
    virtual int ioctl(const std::string& hubPath, int fd, unsigned long request, void* argument);
    /** Called before the descriptor is closed; an errno becomes the result of the close. */
    virtual int close(const std::string& /*hubPath*/) { return 0; }
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

/** A tapped call right after it was made, or a close before it frees the descriptor's number. */
struct FileCall {
    enum class Kind { kOpen, kRead, kWrite, kIoctl, kClose, kOpendir, kRemove };

    Kind kind;
    std::string path;      ///< as the library names it
    unsigned long number;  ///< flags of an open, number of an ioctl, size of a read or write
    std::string bytes;     ///< what was read, written or handed over
    long result;           ///< with a negative errno for a failure
};

/** Runs on the thread that made the call. It may itself use ordinary files. */
using CallObserver = std::function<void(const FileCall&)>;

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
