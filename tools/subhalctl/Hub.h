#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tools/proxy/SubHalLibrary.h"

namespace subhalctl {

/** Options of a hub that stands in for the machine's own. */
struct HubOptions {
    bool sim = false;
    bool still = false;  ///< nothing moves and no light changes
    uint64_t seed = 1;
};

/** A packet that came to an injection device. */
struct Injection {
    std::string bytes;
    bool refused;
};

enum class FileOperation { kRead, kWrite, kRemove };

struct FileReply {
    int32_t result;
    std::string data;
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
    virtual std::optional<FileReply> requestFile(FileOperation operation, const std::string& path,
                                                 const std::string& text, int size,
                                                 int64_t offset) = 0;
    /** What the library did against the protocol, in words. */
    virtual std::vector<std::string> violations() = 0;
};

/** Null, and the reason in `*error`, when it cannot be made or is not part of this build. */
std::unique_ptr<Hub> makeSimulatedHub(const HubOptions& options, std::string* error);

}  // namespace subhalctl
