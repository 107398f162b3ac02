#pragma once

#include <dirent.h>
#include <sys/types.h>

#include <cstdint>
#include <string>

namespace simulator {

/**
 * What stands behind the tapped calls on the hub's files: by itself, the machine's own files.
 * Results are the call's own, with a negative errno in place of -1. Called on whatever thread makes
 * the call.
 */
class TappedFiles {
  public:
    virtual ~TappedFiles() = default;

    /** Opens; `*node` becomes a number above 0 by which the descriptor's later calls come back. */
    virtual int open(const std::string& hubPath, int flags, mode_t mode, uint32_t* node);
    virtual ssize_t read(uint32_t node, int fd, void* buffer, size_t size);
    virtual ssize_t write(uint32_t node, int fd, const void* buffer, size_t size);
    virtual int ioctl(uint32_t node, int fd, unsigned long request, void* argument);
    /** The descriptor is about to be closed; an errno here becomes the result of the close. */
    virtual int close(uint32_t node);
    /** Null with errno when it cannot be opened. */
    virtual DIR* openDirectory(const std::string& hubPath);
    virtual int remove(const std::string& hubPath);
};

/**
 * Directs the process's calls on the hub's files to `files` from now on. False when others are
 * installed. Every other path and descriptor passes untouched.
 */
bool tapFiles(TappedFiles* files);

/** Ends the tap; descriptors still open become ordinary ones. */
void untapFiles();

/**
 * Sees every tapped call right after it was made, on the thread that made it; results as above. Its
 * own calls on ordinary files are free.
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
    virtual void openedDirectory(const std::string& hubPath, int result) = 0;
    virtual void removed(const std::string& hubPath, int result) = 0;
};

/** Shows the calls to `observer` from now on; null for none. It outlives all threads that call. */
void observeCalls(CallObserver* observer);

/** Whether the descriptor is one of the hub's. */
bool isTapped(int fd);

/** The C library's own functions, for use on tapped descriptors. */
namespace real {
ssize_t read(int fd, void* buffer, size_t size);
ssize_t write(int fd, const void* buffer, size_t size);
int open(const char* path, int flags, mode_t mode);
int close(int fd);
DIR* opendir(const char* path);
int remove(const char* path);
}  // namespace real

}  // namespace simulator
