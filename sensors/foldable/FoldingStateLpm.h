#pragma once

#include "sensors/SensorBase.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/**
 * Fold state while the application processor sleeps: fusion mode and angle. The record is that of
 * LidAngleFusion without the gyroscopes; again only the log gets the rest of it.
 */
class FoldingStateLpm : public SensorBase {
  public:
    FoldingStateLpm(const SensorInfo& info, ISensorsEventCallback* callback);

    void readEvents() override;
};

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
