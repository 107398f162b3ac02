#pragma once

#include "sensors/physical/GyroSensor.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/** GyroSensor of the second display's half; logs its parent's flush line. */
class GyroSubSensor : public GyroSensor {
  public:
    GyroSubSensor(const SensorInfo& info, ISensorsEventCallback* callback);
};

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
