#pragma once

#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "simulator/FileTap.h"

namespace subhalctl {

/** A call of the library on one of the hub's files. */
struct FileCall {
    enum class Kind { kOpen, kRead, kWrite, kIoctl, kClose, kOpendir, kRemove };

    Kind kind;
    std::string path;
    unsigned long number;  ///< flags of an open, number of an ioctl, size of a read
    std::string bytes;     ///< what was read, written or handed over
    long result;           ///< with a negative errno for a failure
};

const char* nameOf(FileCall::Kind kind);

/** Passes each such call to the sinks, on the thread that made it. */
class CallTap : private simulator::CallObserver {
  public:
    using Sink = std::function<void(const FileCall&)>;

    /** @param ownHub taps the machine's own hub instead of one in this process */
    CallTap(bool ownHub, std::vector<Sink> sinks);
    ~CallTap() override;
    CallTap(const CallTap&) = delete;
    CallTap& operator=(const CallTap&) = delete;

  private:
    void opened(const std::string& hubPath, int flags, int result) override;
    void wasRead(int fd, const void* buffer, size_t size, ssize_t result) override;
    void written(int fd, const void* buffer, size_t size, ssize_t result) override;
    void controlled(int fd, unsigned long request, const void* argument, int result) override;
    void closing(int fd) override;
    void openedDirectory(const std::string& hubPath, int result) override;
    void removed(const std::string& hubPath, int result) override;
    void pass(const FileCall& call) const;
    std::string pathOf(int fd) const;

    std::vector<Sink> mSinks;
    simulator::TappedFiles mOwnFiles;
    bool mOwnHub;  // the machine's
    mutable std::mutex mLock;
    std::map<int, std::string> mPaths;  // by descriptor; guarded by mLock
};

// One line of "--trace" on standard error.
void traceCall(const FileCall& call);
void traceProperty(const char* call, const std::string& name, const std::string& value);

}  // namespace subhalctl
