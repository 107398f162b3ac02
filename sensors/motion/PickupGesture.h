#pragma once

#include "sensors/SensorBase.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/**
 * The device was picked up, once per activation. No record is taken as a flush marker, even without
 * a timestamp.
 */
class PickupGesture : public SensorBase {
  public:
    PickupGesture(const SensorInfo& info, ISensorsEventCallback* callback);

    void readEvents() override;
};

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
