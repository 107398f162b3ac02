#pragma once

#include "sensors/orientation/DirectGyroSensor.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/** The gyroscope stream of digital video stabilisation. */
class VdisGyroSensor : public DirectGyroSensor {
  public:
    VdisGyroSensor(const SensorInfo& info, ISensorsEventCallback* callback);
};

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
