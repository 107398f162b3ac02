#pragma once

#include "sensors/SensorBase.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/** Fold status for limiting the radio power near the body, as an unsigned code. */
class SarFolding : public SensorBase {
  public:
    SarFolding(const SensorInfo& info, ISensorsEventCallback* callback);

    void readEvents() override;
};

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
