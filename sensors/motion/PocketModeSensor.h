#pragma once

#include "sensors/SensorBase.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/** Whether the device is in a pocket, why, and the detector's fourteen figures. */
class PocketModeSensor : public SensorBase {
  public:
    PocketModeSensor(const SensorInfo& info, ISensorsEventCallback* callback);

    void readEvents() override;
};

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
