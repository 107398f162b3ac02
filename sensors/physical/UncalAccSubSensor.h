#pragma once

#include "sensors/physical/UncalAccSensor.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/** UncalAccSensor of the second display's half; logs its parent's flush line. */
class UncalAccSubSensor : public UncalAccSensor {
  public:
    UncalAccSubSensor(const SensorInfo& info, ISensorsEventCallback* callback);
};

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
