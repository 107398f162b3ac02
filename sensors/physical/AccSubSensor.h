#pragma once

#include "sensors/physical/AccSensor.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/** AccSensor of the second display's half; logs its parent's flush line. */
class AccSubSensor : public AccSensor {
  public:
    AccSubSensor(const SensorInfo& info, ISensorsEventCallback* callback);
};

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
