#pragma once

#include <string>

#include "simulator/FileTap.h"

namespace subhalctl {

using simulator::FileCall;

const char* nameOf(FileCall::Kind kind);

/** Passes each call on one of the hub's files to the observer, on the thread that made it. */
class CallTap {
  public:
    /** @param ownHub taps the machine's own hub instead of one in this process */
    CallTap(bool ownHub, simulator::CallObserver observer);
    ~CallTap();
    CallTap(const CallTap&) = delete;
    CallTap& operator=(const CallTap&) = delete;

  private:
    const simulator::CallObserver mObserver;
    simulator::TappedFiles mOwnFiles;
    const bool mOwnHub;  // the machine's
};

// One line of "--trace" on standard error.
void traceCall(const FileCall& call);
void traceProperty(const char* call, const std::string& name, const std::string& value);

}  // namespace subhalctl
