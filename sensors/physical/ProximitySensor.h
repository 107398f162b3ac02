#pragma once

#include "sensors/SensorBase.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/** Distance in cm, near (0) or far (8), with a light figure of 0 or 100 in payload word 1. */
class ProximitySensor : public SensorBase {
  public:
    ProximitySensor(const SensorInfo& info, ISensorsEventCallback* callback);

    void readEvents() override;

  private:
    static float indexToValue(unsigned index);
};

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
