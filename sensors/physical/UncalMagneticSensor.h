#pragma once

#include "sensors/SensorBase.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/**
 * Magnetic field in µT before hard-iron correction, with the bias. Hubs with a 16-bit magnetometer
 * send a shorter record; the byte count tells which form it is.
 */
class UncalMagneticSensor : public SensorBase {
  public:
    UncalMagneticSensor(const SensorInfo& info, ISensorsEventCallback* callback);

    void readEvents() override;

  private:
    const float mScale;  // µT per count
};

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
