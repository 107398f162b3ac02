#pragma once

#include "sensors/SensorBase.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/** Raw figures of the proximity chip. The payload begins with the record's second field. */
class ProximityRawSensor : public SensorBase {
  public:
    ProximityRawSensor(const SensorInfo& info, ISensorsEventCallback* callback);

    void readEvents() override;
};

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
