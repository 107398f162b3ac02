#pragma once

#include "sensors/SensorBase.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/**
 * A signal without data: each record of the hub, whatever it holds, is answered by a flush-complete
 * event, which is what the clients wait for.
 */
class AoisSensor : public SensorBase {
  public:
    AoisSensor(const SensorInfo& info, ISensorsEventCallback* callback);

    void readEvents() override;
};

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
