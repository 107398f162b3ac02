#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "simulator/SimulatedHub.h"

namespace simulator {

/**
 * What the hub's firmware does of its own accord: asks the host for file access, has dumps saved,
 * talks about contexts and takes byte messages. Build it before the library is loaded, which opens
 * the message device at once. Any thread may call; the handlers stay when this object is gone.
 */
class HubServices {
  public:
    using Milliseconds = std::chrono::milliseconds;

    static constexpr int kRead = 0;
    static constexpr int kWrite = 1;
    static constexpr int kRemove = 2;

    explicit HubServices(SimulatedHub& hub);
    ~HubServices();
    HubServices(const HubServices&) = delete;
    HubServices& operator=(const HubServices&) = delete;

    // File manager. --------------------------------------------------------------------------

    /** Waits for the host's ready signal. False on time-out. */
    bool waitReady(Milliseconds timeout = Milliseconds(5000));

    /** Puts a request into the control file, drops an earlier reply and wakes the host. */
    bool postRequest(int operation, const std::string& text);
    /** The reply to the last request as it came, none while there is none. */
    std::optional<std::string> takeReply();

    /** What the host did against the protocol, in words. */
    std::vector<std::string> violations() const;

    // Dumps. ---------------------------------------------------------------------------------

    void setDumpContent(const std::string& bytes);
    /** Asks the host to save the dump and to keep `count` of its type (both 0 to 255). */
    bool requestDump(int type, int count);

    // Contexts. ------------------------------------------------------------------------------

    void setContextList(const std::array<uint32_t, 4>& words);
    /** Queues a context record; `data` is cut or zero-filled to its 56 bytes. */
    bool pushContext(int32_t size, uint16_t begin, uint16_t end, const std::string& data,
                     int64_t timestampNs);

    // Messages. ------------------------------------------------------------------------------

    /** Byte messages received, each as it came in one write. */
    std::vector<std::string> messages() const;

  private:
    class State;

    bool pushCommand(uint8_t command, int type, int count);

    SimulatedHub& mHub;
    std::shared_ptr<State> mState;  // shared with the handlers
};

}  // namespace simulator
