#pragma once

#include "sensors/SensorBase.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/** Rate of rotation in rad/s, sent on the gyroscope's interrupt. */
class IntGyroSensor : public SensorBase {
  public:
    IntGyroSensor(const SensorInfo& info, ISensorsEventCallback* callback);

    void readEvents() override;

  private:
    const float mScale;  // rad/s per count, as the hub gives it
};

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
