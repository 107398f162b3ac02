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
    using Kind = simulator::TappedCall::Kind;

    Kind kind;
    std::string path;
    unsigned long number;  ///< flags of an open, number of an ioctl, size of a read
    std::string bytes;     ///< what was read, written or handed over
    long result;           ///< with a negative errno for a failure
};

const char* nameOf(FileCall::Kind kind);

/** Passes each such call to the sinks, on the thread that made it. */
class CallTap {
  public:
    using Sink = std::function<void(const FileCall&)>;

    /** @param ownHub taps the machine's own hub instead of one in this process */
    CallTap(bool ownHub, std::vector<Sink> sinks);
    ~CallTap();
    CallTap(const CallTap&) = delete;
    CallTap& operator=(const CallTap&) = delete;

  private:
    void pass(const simulator::TappedCall& tapped);
    std::string pathOf(const simulator::TappedCall& tapped);

    std::vector<Sink> mSinks;
    simulator::TappedFiles mOwnFiles;
    bool mOwnHub;  // the machine's
    std::mutex mLock;
    std::map<long, std::string> mPaths;  // by descriptor; guarded by mLock
    simulator::CallObserver mObserver;
};

// One line of "--trace" on standard error.
void traceCall(const FileCall& call);
void traceProperty(const char* call, const std::string& name, const std::string& value);

}  // namespace subhalctl
