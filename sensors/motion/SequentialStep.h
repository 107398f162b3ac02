#pragma once

#include "sensors/SensorBase.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/** Steps taken in an unbroken sequence. */
class SequentialStep : public SensorBase {
  public:
    SequentialStep(const SensorInfo& info, ISensorsEventCallback* callback);

    void readEvents() override;
    /** Sends the period in ms as the detector's threshold. 0 even when the hub refused it. */
    int batch(int handle, int64_t samplingPeriodNs, int64_t maxReportLatencyNs) override;
};

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
