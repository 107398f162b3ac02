#pragma once

#include <vector>

#include "tools/subhalctl/doctor/Examination.h"
#include "tools/subhalctl/doctor/Findings.h"
#include "tools/subhalctl/proxy/Proxy.h"

namespace subhalctl {

/** Switches a sensor on, follows a record from the hub to the proxy, reports where it stops. */
class RecordTrail {
  public:
    /** @param proxy open, and it has kept the library's calls since */
    RecordTrail(Proxy& proxy, Findings& findings, const HubDevices& devices, double seconds)
        : mProxy(proxy),
          mFindings(findings),
          mDevices(devices),
          mSeconds(seconds),
          mLoading(proxy.takeCalls()) {}

    /** Also with a latency, if the sensor batches: the library then reads its buffer's count. */
    void follow(const SensorInfo& sensor);

  private:
    bool followOnce(const SensorInfo& sensor, int64_t latencyNs);

    Proxy& mProxy;
    Findings& mFindings;
    const HubDevices& mDevices;
    double mSeconds;
    std::vector<FileCall> mLoading;  // the library's, before the first sensor
};

}  // namespace subhalctl
