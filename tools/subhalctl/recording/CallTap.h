#pragma once

#include <string>
#include <vector>

#include "simulator/FileTap.h"

namespace subhalctl {

using simulator::FileCall;

const char* nameOf(FileCall::Kind kind);

/** Passes each call on one of the hub's files to the sinks, on the thread that made it. */
class CallTap {
  public:
    using Sink = simulator::CallObserver;

    /** @param ownHub taps the machine's own hub instead of one in this process */
    CallTap(bool ownHub, std::vector<Sink> sinks);
    ~CallTap();
    CallTap(const CallTap&) = delete;
    CallTap& operator=(const CallTap&) = delete;

  private:
    const std::vector<Sink> mSinks;
    const simulator::CallObserver mObserver;  // passes to all of them
    simulator::TappedFiles mOwnFiles;
    const bool mOwnHub;  // the machine's
};

// One line of "--trace" on standard error.
void traceCall(const FileCall& call);
void traceProperty(const char* call, const std::string& name, const std::string& value);

}  // namespace subhalctl
