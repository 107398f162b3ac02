#pragma once

#include "sensors/SensorBase.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/**
 * One step taken. A step may carry no timestamp: only a record that is zero throughout marks a
 * completed flush.
 */
class StepDetectorSensor : public SensorBase {
  public:
    StepDetectorSensor(const SensorInfo& info, ISensorsEventCallback* callback);

    void readEvents() override;
};

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
