#pragma once

#include "sensors/SensorBase.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/**
 * The lid angle that the hub fuses from both halves' motion: fusion mode and angle. The state, the
 * error code and the motion behind them go to the log alone.
 */
class LidAngleFusion : public SensorBase {
  public:
    LidAngleFusion(const SensorInfo& info, ISensorsEventCallback* callback);

    void readEvents() override;
};

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
