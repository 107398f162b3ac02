#pragma once

#include "sensors/SensorBase.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/** RotationVector without the magnetic field: its heading has no fixed zero. */
class GameRotationVector : public SensorBase {
  public:
    GameRotationVector(const SensorInfo& info, ISensorsEventCallback* callback);

    void readEvents() override;
};

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
