#pragma once

#include "sensors/SensorBase.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/** Whether and how the device is carried in a pocket, with the detector's intermediate states. */
class PocketPosModeSensor : public SensorBase {
  public:
    PocketPosModeSensor(const SensorInfo& info, ISensorsEventCallback* callback);

    void readEvents() override;
};

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
