#pragma once

#include "sensors/SensorBase.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/** A motion that lights the display; wakes the system whichever twin it comes from. */
class WakeUpMotion : public SensorBase {
  public:
    WakeUpMotion(const SensorInfo& info, ISensorsEventCallback* callback);

    void readEvents() override;
};

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
