#pragma once

#include <map>
#include <string>
#include <vector>

#include "tools/subhalctl/doctor/Findings.h"
#include "tools/subhalctl/proxy/Proxy.h"

namespace subhalctl {

/** Switches a sensor on, follows a record from the hub to the proxy, reports where it stops. */
class RecordTrail {
  public:
    /** @param proxy open, and it has kept the library's calls since */
    RecordTrail(Proxy& proxy, Findings& findings, double seconds);

    /** Also with a latency, if the sensor batches: the library then reads its buffer's count. */
    void follow(const SensorInfo& sensor);

  private:
    bool followOnce(const SensorInfo& sensor, int64_t latencyNs);

    Proxy& mProxy;
    Findings& mFindings;
    double mSeconds;
    std::vector<FileCall> mLoading;             // the library's, before the first sensor
    std::map<std::string, std::string> mNodes;  // "iio:deviceN" by IIO name
};

}  // namespace subhalctl
