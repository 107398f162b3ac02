#pragma once

#include "sensors/SensorBase.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/** Event code of the wake-up motion; wakes the system whichever twin it comes from. */
class WakeUpMotion : public SensorBase {
  public:
    WakeUpMotion(const SensorInfo& info, ISensorsEventCallback* callback);

    void readEvents() override;
};

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
