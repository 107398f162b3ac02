#pragma once

#include "sensors/SensorBase.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/** Whether the device is in a pocket, from fewer inputs than PocketModeSensor. */
class PocketModeLiteSensor : public SensorBase {
  public:
    PocketModeLiteSensor(const SensorInfo& info, ISensorsEventCallback* callback);

    void readEvents() override;
};

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
