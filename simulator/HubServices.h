#pragma once

#include <array>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "simulator/SimulatedHub.h"

namespace simulator {

/**
 * What the hub's firmware does by itself: it requests file access and dumps from the host, reports
 * contexts and receives byte messages. Build it before the library is loaded, which opens the
 * message device at once. Any thread may call; the handlers remain after this object's end.
 */
class HubServices {
  public:
    using Milliseconds = std::chrono::milliseconds;

    static constexpr int kRead = 0;
    static constexpr int kWrite = 1;
    static constexpr int kRemove = 2;

    explicit HubServices(SimulatedHub& hub);

    // File manager. --------------------------------------------------------------------------

    /** Waits for the host's ready signal. Returns false on time-out. */
    bool waitReady(Milliseconds timeout = Milliseconds(5000));

    /** Puts a request into the control file, drops an earlier reply and wakes the host. */
    bool postRequest(int operation, const std::string& text);
    /** The bytes of the reply to the last request, once. */
    std::optional<std::string> takeReply();

    /** Descriptions of the host's protocol errors. */
    std::vector<std::string> violations() const;

    // Dumps. ---------------------------------------------------------------------------------

    void setDumpContent(const std::string& bytes) { mHub.setFile(kDumpPath, bytes); }
    /** Requests that the host save the dump and keep `count` of its type (both 0 to 255). */
    bool requestDump(int type, int count);

    // Contexts. ------------------------------------------------------------------------------

    void setContextList(const std::array<uint32_t, 4>& words);
    /** Queues a context record; `data` is cut or zero-filled to its 56 bytes. */
    bool pushContext(int32_t size, uint16_t begin, uint16_t end, const std::string& data,
                     int64_t timestampNs);

    // Messages. ------------------------------------------------------------------------------

    /** Byte messages received, one per write. */
    std::vector<std::string> messages() const;

  private:
    struct State {
        ssize_t takeWrite(const std::string& bytes);

        std::mutex mutex;  // guards all that follows
        std::condition_variable changed;
        bool ready = false;
        int operation = -1;  // of the request without reply, -1 for none
        std::string request;
        std::optional<std::string> reply;
        std::vector<std::string> violations;
        std::vector<std::string> messages;
    };
    using Lock = std::lock_guard<std::mutex>;

    bool pushCommand(uint8_t command, int type, int count);

    SimulatedHub& mHub;
    std::shared_ptr<State> mState = std::make_shared<State>();  // shared with the handlers
};

}  // namespace simulator
