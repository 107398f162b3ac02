#pragma once

#include "sensors/physical/UncalGyroSensor.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/** UncalGyroSensor of the second display's half; logs its parent's flush line. */
class UncalGyroSubSensor : public UncalGyroSensor {
  public:
    UncalGyroSubSensor(const SensorInfo& info, ISensorsEventCallback* callback);
};

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
