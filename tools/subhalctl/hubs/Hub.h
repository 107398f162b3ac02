#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "simulator/Request.h"
#include "tools/proxy/SubHalLibrary.h"
#include "tools/subhalctl/ExitCode.h"

namespace subhalctl {

/** Options of a hub that replaces the machine's own. */
struct HubChoice {
    bool sim = false;
    bool still = false;  ///< nothing moves and no light changes
    uint64_t seed = 1;
    std::vector<std::string> faults;  ///< as parseFault() takes them
    std::string chips;                ///< file with another catalogue, empty for the usual one
    std::string recording;            ///< file with a recording that plays the hub
    bool fast = false;                ///< plays the recording without waiting
};

/** A hub in this process that replaces the machine's own. It outlives the library. */
class Hub {
  public:
    virtual ~Hub() = default;

    /** Ends the library; false when it stays. */
    virtual bool unload(host_proxy::SubHalLibrary& library) = 0;

    /** What the injection devices received since the last call. */
    virtual std::vector<simulator::Request> takeInjections() = 0;
    /** Byte messages that the message device received. */
    virtual std::vector<std::string> messages() = 0;

    // Requests of the hub to the library. False or nothing when it does not react.

    virtual bool waitReady() = 0;
    virtual bool requestDump(int type, int count) = 0;
    /** Names and sizes in the dump directory. */
    virtual std::vector<std::pair<std::string, size_t>> dumpFiles() = 0;

    // For a recording that the caller plays.

    /** Until the time on the recording's clock; at once, with the clock there, if it is fast. */
    virtual void waitUntil(int64_t /*timeNs*/) {}
    /** Records as one read returned them. False when the library does not read them. */
    virtual bool push(int32_t /*handle*/, const std::string& /*bytes*/) { return false; }
    /** Waits until the library has handled all records. */
    virtual bool waitIdle() { return false; }
    /** The next "open", "write" or "ioctl" of the path fails with an errno. */
    virtual void failNext(const std::string& /*call*/, const std::string& /*path*/, int) {}
};

/** Reports any failure. */
ExitCode makeSignalHub(const HubChoice& options, std::unique_ptr<Hub>* hub);

struct Recording;
struct ReplayOptions {
    bool fast;                      ///< without waiting
    std::function<void()> ended;    ///< set when it plays by itself; else push() plays it
    std::function<bool()> blocked;  ///< the library waits for the events' reader
};
/** The same for a hub that plays a recording, which outlives it. */
ExitCode makeReplayHub(const Recording& recording, const ReplayOptions& options,
                       std::unique_ptr<Hub>* hub);

}  // namespace subhalctl
