#pragma once

#include "sensors/SensorBase.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/** The hub's debug text. It goes to the log alone: nothing is posted, nor is the sensor listed. */
class HubDebuggerSensor : public SensorBase {
  public:
    HubDebuggerSensor(const SensorInfo& info, ISensorsEventCallback* callback);

    void readEvents() override;
    bool isShownSensorList() override;
};

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
