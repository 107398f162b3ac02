#pragma once

#include <mutex>
#include <string>
#include <vector>

namespace simulator {

/** Calls that are to fail. */
class Faults {
  public:
    static constexpr int kForever = -1;

    /** From the nth matching call on, `count` calls fail with `error`. */
    void add(const std::string& call, const std::string& path, int error, int nth, int count) {
        const std::lock_guard<std::mutex> lock(mMutex);
        mFaults.push_back({call, path, error, nth - 1, count});
    }

    /** Counts one call; the errno with which it is to fail, or 0. */
    int next(const char* call, const std::string& path) {
        const std::lock_guard<std::mutex> lock(mMutex);
        int error = 0;
        for (Fault& fault : mFaults) {
            if (fault.call != call || fault.path != path) continue;
            if (fault.pass > 0) {
                --fault.pass;
            } else if (error == 0 && fault.remaining != 0) {
                if (fault.remaining != kForever) --fault.remaining;
                error = fault.error;
            }
        }
        return error;
    }

    void clear() {
        const std::lock_guard<std::mutex> lock(mMutex);
        mFaults.clear();
    }

  private:
    struct Fault {
        std::string call;
        std::string path;
        int error;
        int pass;       ///< calls that still pass
        int remaining;  ///< calls that still fail, or kForever
    };

    std::mutex mMutex;
    std::vector<Fault> mFaults;  // guarded by mMutex
};

}  // namespace simulator
