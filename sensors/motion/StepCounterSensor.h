#pragma once

#include "sensors/SensorBase.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/** Steps since the hub started, as a 64-bit integer in the payload. */
class StepCounterSensor : public SensorBase {
  public:
    StepCounterSensor(const SensorInfo& info, ISensorsEventCallback* callback);

    void readEvents() override;
};

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
