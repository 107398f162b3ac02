#pragma once

#include "sensors/SensorBase.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/**
 * Motion that suggests a change of place, once per activation. The event carries the time of its
 * reading, not the record's, and no record is taken as a flush marker.
 */
class SigMotionSensor : public SensorBase {
  public:
    SigMotionSensor(const SensorInfo& info, ISensorsEventCallback* callback);

    void readEvents() override;
};

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
