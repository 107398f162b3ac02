#pragma once

#include <sys/stat.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <map>
#include <mutex>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <vector>

#include "tools/subhalctl/hubs/PlatformHooks.h"
#include "tools/subhalctl/proxy/EventQueue.h"
#include "tools/subhalctl/recording/CallTap.h"

namespace subhalctl {

// What crossed the library's borders in one run, as JSON Lines; see "RECORDINGS" in the manual
// page. Every line has "kind" and "t", the time since boot in ns. Bytes are in hexadecimal.

/** One request of the proxy. */
struct ProxyRequest {
    std::string what;  ///< "batch", "activate" or "flush"
    int32_t handle = 0;
    int64_t periodNs = 0;
    int64_t latencyNs = 0;
    bool enable = false;
    std::string result;
    int64_t durationNs = 0;  ///< 0 when unknown
};

/** Writes a recording. Any thread; lines are in the order in which they are finished. */
class Recorder : public PlatformHooks {
  public:
    Recorder() = default;
    ~Recorder() override;
    Recorder(const Recorder&) = delete;
    Recorder& operator=(const Recorder&) = delete;

    /**
     * "-" is standard output. A regular or new file changes in finish() only; until then the lines
     * go to PATH.part. Returns false after reporting the error.
     */
    bool open(const std::string& path);

    void call(const FileCall& call);
    void request(int64_t startNs, const ProxyRequest& request);
    void event(const ReceivedEvent& received);
    /** The proxy's wakelock is acquired or released. */
    void wakelock(bool held);
    int64_t clock(int64_t now) override;
    std::string property(const std::string& name, const std::string& value) override;

    /** Whether an event has been recorded, or a write failed. */
    bool hasResult() const;
    /** Writes the last line and replaces the file. Returns false after reporting any lost write. */
    bool finish();
    /** Removes the file unless it is finished. */
    void discard();

  private:
    bool openPart(const struct stat* old);
    void store();
    void close();
    void write(const char* kind, int64_t timeNs, const nlohmann::ordered_json& fields);

    mutable std::mutex mLock;
    std::FILE* mFile = nullptr;
    std::string mPath;  // with links resolved
    std::string mPart;  // empty when the lines go to mPath
    int mError = 0;     // errno of the first write that failed
    int64_t mEvents = 0;
    std::map<std::string, int> mHandles;  // by IIO name, once the specification has been read
    std::map<int, std::string> mNames;    // IIO names by device number
};

/** A loaded recording. */
struct Recording {
    struct Entry {
        enum class Kind { kRaw, kRequest, kEvent, kWakelock, kCall, kProperty, kClock };

        Kind kind;
        size_t line;
        int64_t timeNs;
        int32_t handle = -1;
        std::string bytes{};  ///< of a record or a call
        ProxyRequest request{};
        ReceivedEvent received{};
        bool flag = false;    ///< the wakelock is held; the main thread read the clock
        std::string name{};   ///< of a property, a path
        std::string text{};   ///< a property's value; what kind of call
        int64_t result = 0;   ///< of a call
        int64_t number = -1;  ///< of an ioctl, -1 when unknown
    };

    int64_t startNs = 0;
    size_t lines = 0;
    std::string spec;
    std::vector<Entry> entries;  ///< by time

    /** The last request for the sensor's rate and latency, which are 0 without any. */
    ProxyRequest batch(int32_t handle) const;
    /** When the sensor, or any, was first switched on; the recording's start if it was not. */
    int64_t onNs(std::optional<int32_t> handle = {}) const;
    /** When the sensor was last switched off, the recording's end if it was not. */
    int64_t offNs(int32_t handle) const;
};

/** "-" is standard input. Returns false after reporting line and reason when it is not whole. */
bool loadRecording(const std::string& path, Recording* recording);

}  // namespace subhalctl
