#pragma once

#include "sensors/orientation/DirectGyroSensor.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/** The gyroscope stream of still-picture stabilisation. */
class StillwaveGyroSensor : public DirectGyroSensor {
  public:
    StillwaveGyroSensor(const SensorInfo& info, ISensorsEventCallback* callback);
};

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
