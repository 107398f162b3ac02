#pragma once

#include <dirent.h>
#include <unistd.h>

#include <cerrno>
#include <memory>

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/** Owns a file descriptor; negative means none. Closing leaves errno as it was. */
class UniqueFd {
  public:
    UniqueFd() = default;
    explicit UniqueFd(int fd) : mFd(fd) {}
    UniqueFd(const UniqueFd&) = delete;
    UniqueFd& operator=(const UniqueFd&) = delete;
    ~UniqueFd() { reset(); }

    int get() const { return mFd; }
    bool ok() const { return mFd >= 0; }

    void reset(int fd = -1) {
        if (mFd >= 0) {
            const int error = errno;
            close(mFd);
            errno = error;
        }
        mFd = fd;
    }

    /** Closes now and returns close's result, for files whose close can fail. */
    int closeNow() {
        const int fd = mFd;
        mFd = -1;
        return close(fd);
    }

  private:
    int mFd = -1;
};

/** Owns an open directory, with closedir; null means none. */
using Directory = std::unique_ptr<DIR, int (*)(DIR*)>;

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
