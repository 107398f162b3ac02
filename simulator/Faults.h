#pragma once

#include <string>
#include <vector>

namespace simulator {

enum class Call { kOpen, kRead, kWrite, kIoctl, kClose, kPoll };

/** Calls that are to fail. Not thread-safe. */
class Faults {
  public:
    static constexpr int kForever = -1;

    /** From the nth matching call on, `count` calls fail with `error`. */
    void add(Call call, const std::string& path, int error, int nth, int count) {
        mFaults.push_back({call, path, error, nth - 1, count});
    }

    /** Counts one call; the errno with which it is to fail, or 0. */
    int next(Call call, const std::string& path);

    void clear() { mFaults.clear(); }

  private:
    struct Fault {
        Call call;
        std::string path;
        int error;
        int pass;       ///< calls that still pass
        int remaining;  ///< calls that still fail, or kForever
    };

    std::vector<Fault> mFaults;
};

}  // namespace simulator
