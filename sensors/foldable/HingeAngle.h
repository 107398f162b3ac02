#pragma once

#include "sensors/SensorBase.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/** Angle of the hinge in degrees, under the platform's own type. */
class HingeAngle : public SensorBase {
  public:
    HingeAngle(const SensorInfo& info, ISensorsEventCallback* callback);

    void readEvents() override;
};

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
