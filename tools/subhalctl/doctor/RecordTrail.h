#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "tools/subhalctl/doctor/Findings.h"
#include "tools/subhalctl/proxy/Proxy.h"

namespace subhalctl {

/** Switches sensors on, follows a record of each from the hub to the proxy, says where it stops. */
class RecordTrail {
  public:
    /** @param proxy open, and it has kept the library's calls since */
    RecordTrail(Proxy& proxy, Findings& findings, double seconds);

    /** Also with a latency, if the sensor batches: the library asks its buffer for a count then. */
    void follow(const SensorInfo& sensor);

  private:
    /** What was seen of one sensor while it was on. */
    struct Round {
        const SensorInfo& sensor;
        std::string subject;
        std::string node{};    ///< of the device, as the library opened it
        std::string buffer{};  ///< directory of the buffer's attributes
        std::string refusal{};
        std::vector<FileCall> calls{};
        std::optional<ReceivedEvent> event{};
        int64_t startNs = 0;
        int pollError = 0;     ///< errno of waiting for a record
        bool waiting = false;  ///< a record is in the device, unread
    };

    bool followOnce(const SensorInfo& sensor, int64_t latencyNs);
    void watch(Round* round, int64_t latencyNs);
    bool passesHub(const Round& round);
    bool passesBuffer(const Round& round);
    bool passesRead(const Round& round);
    bool isSilent(const Round& round);
    bool passesLibrary(const Round& round);
    bool stops(const Round& round, const char* station, const std::string& what,
               const std::string& remedy);
    bool mayStop(const Round& round, const char* station, const std::string& what,
                 const std::string& remedy);

    Proxy& mProxy;
    Findings& mFindings;
    double mSeconds;
    std::vector<FileCall> mLoading;             // what the library did before the first sensor
    std::map<std::string, std::string> mNodes;  // "iio:deviceN" by IIO name
};

}  // namespace subhalctl
