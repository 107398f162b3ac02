#pragma once

#include "sensors/SensorBase.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/**
 * The device's attitude as a unit quaternion x, y, z, w, with the estimated heading accuracy in
 * payload word 4. The hub fuses it and sends fixed-point values.
 */
class RotationVector : public SensorBase {
  public:
    RotationVector(const SensorInfo& info, ISensorsEventCallback* callback);

    void readEvents() override;
};

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
