#pragma once

#include <cstdint>

#include "sensors/Relaxed.h"
#include "sensors/SensorBase.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/**
 * Lux, colour temperature and region of interest in words 0 to 2, and the raw lux in word 4. Older
 * hubs send no region; the record's length tells.
 */
class LightCCT_Sensor : public SensorBase {
  public:
    LightCCT_Sensor(const SensorInfo& info, ISensorsEventCallback* callback);

    int enable(int handle, bool on) override;
    void readEvents() override;

  private:
    Relaxed<int32_t> logCount = 0;  // records logged since the last enable
};

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
