#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>

namespace simulator {

/**
 * What stands behind the redirected calls. Results are the call's own, with a negative errno in
 * place of -1. Called on whatever thread makes the call.
 */
class FileBackend {
  public:
    virtual ~FileBackend() = default;

    /** Real path for one of the hub's paths. */
    virtual std::string realPath(const std::string& hubPath) const = 0;
    /** A directory is about to be opened; an errno here becomes the result. */
    virtual int enterDirectory(const std::string& hubPath) = 0;
    /** Opens; `*node` becomes a number above 0 by which the descriptor's later calls come back. */
    virtual int open(const std::string& hubPath, int flags, mode_t mode, uint32_t* node) = 0;
    virtual ssize_t read(uint32_t node, int fd, void* buffer, size_t size) = 0;
    virtual ssize_t write(uint32_t node, int fd, const void* buffer, size_t size) = 0;
    virtual int ioctl(uint32_t node, int fd, unsigned long request, void* argument) = 0;
    /** The descriptor is about to be closed; an errno here becomes the result of the close. */
    virtual int close(uint32_t node) = 0;
    /** A poll that watches one of the hub's descriptors begins; an errno here ends it at once. */
    virtual int enterPoll() = 0;
    virtual void leavePoll() = 0;
};

/**
 * Directs the process's calls on the hub's paths to `backend` from now on. False when another one
 * is installed. Every other path and descriptor passes untouched.
 */
bool installBackend(FileBackend* backend);

/** Ends the redirection; descriptors still open become ordinary ones. */
void removeBackend();

/**
 * Sees every redirected call right after it was made, on the thread that made it; results as above.
 * Its own calls on ordinary files are free.
 */
class CallObserver {
  public:
    virtual ~CallObserver() = default;

    /** @param result the descriptor */
    virtual void opened(const std::string& hubPath, int flags, int result) = 0;
    virtual void wasRead(int fd, const void* buffer, size_t size, ssize_t result) = 0;
    virtual void written(int fd, const void* buffer, size_t size, ssize_t result) = 0;
    virtual void controlled(int fd, unsigned long request, const void* argument, int result) = 0;
    /** Just before the descriptor's number can be given away anew. */
    virtual void closing(int fd) = 0;
};

/** Shows the calls to `observer` from now on; null for none. It outlives all threads that call. */
void observeCalls(CallObserver* observer);

/** The C library's own functions, for the backend's use on redirected descriptors. */
namespace real {
ssize_t read(int fd, void* buffer, size_t size);
ssize_t write(int fd, const void* buffer, size_t size);
int open(const char* path, int flags, mode_t mode);
int close(int fd);
}  // namespace real

}  // namespace simulator
