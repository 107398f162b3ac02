#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tools/proxy/SubHalLibrary.h"
#include "tools/subhalctl/ExitCode.h"

namespace subhalctl {

/** Options of a hub that stands in for the machine's own. */
struct HubChoice {
    bool sim = false;
    bool still = false;  ///< nothing moves and no light changes
    uint64_t seed = 1;
    std::vector<std::string> faults;  ///< as parseFault() takes them
    std::string chips;                ///< file with another catalogue, empty for the usual one
    std::string recording;            ///< file with a recording that plays the hub
    bool fast = false;                ///< the recording in no time instead of its own

    /** A hub of this process is asked for. */
    bool own() const { return sim || !recording.empty(); }
};

/** A packet that came to an injection device. */
struct Injection {
    std::string bytes;
    bool refused;
};

/** A hub in this process, in the place of the machine's own. It outlives the library. */
class Hub {
  public:
    virtual ~Hub() = default;

    /** Ends the library; false when it stays. */
    virtual bool unload(host_proxy::SubHalLibrary& library) = 0;

    virtual void forgetInjections() = 0;
    virtual std::vector<Injection> injections() = 0;
    /** Byte messages that came to the message device. */
    virtual std::vector<std::string> messages() = 0;

    // What the hub asks of the library. False or nothing when it does not answer.

    virtual bool waitReady() = 0;
    virtual bool requestDump(int type, int count) = 0;
    /** Names and sizes in the dump directory. */
    virtual std::vector<std::pair<std::string, size_t>> dumpFiles() = 0;

    // For a recording that is played request by request.

    /** Records as one read gave them. False when the library does not take them. */
    virtual bool push(int32_t /*handle*/, const std::string& /*bytes*/) { return false; }
    /** Until the library has dealt with all records. False when it does not, or is not to. */
    virtual bool waitIdle() { return false; }
    /** The next such call on the path fails. */
    virtual void failNext(const std::string& /*call*/, const std::string& /*path*/, int /*error*/) {
    }
};

/** Anything but kOk has been told on standard error. */
ExitCode makeSignalHub(const HubChoice& options, std::unique_ptr<Hub>* hub);

struct Recording;
struct ReplayOptions {
    bool fast;                      ///< without waiting
    bool live;                      ///< it plays by itself, and answers flushes; else push() does
    std::function<void()> ended;    ///< when it has played itself to the end
    std::function<bool()> blocked;  ///< the library waits for the events' reader
};
/** The same for a hub that plays a recording, which outlives it. */
ExitCode makeReplayHub(const Recording& recording, const ReplayOptions& options,
                       std::unique_ptr<Hub>* hub);

}  // namespace subhalctl
