#pragma once

#include "sensors/SensorBase.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/** State of the angle sensor itself, as a signed code. */
class AngleSensorStatus : public SensorBase {
  public:
    AngleSensorStatus(const SensorInfo& info, ISensorsEventCallback* callback);

    void readEvents() override;
};

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
