#pragma once

#include "sensors/SensorBase.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/** The small form of PocketModeSensor: a state and one figure. */
class PocketModeLiteSensor : public SensorBase {
  public:
    PocketModeLiteSensor(const SensorInfo& info, ISensorsEventCallback* callback);

    void readEvents() override;
};

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
