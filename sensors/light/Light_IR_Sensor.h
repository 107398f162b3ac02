#pragma once

#include <cstdint>

#include "sensors/Relaxed.h"
#include "sensors/SensorBase.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/**
 * Raw channels of the light chip: infrared, red, green, blue, clear, integration time and gain. The
 * last two travel the other way round in the record.
 */
class Light_IR_Sensor : public SensorBase {
  public:
    Light_IR_Sensor(const SensorInfo& info, ISensorsEventCallback* callback);

    int enable(int handle, bool on) override;
    void readEvents() override;

  private:
    Relaxed<int32_t> logCount = 0;  // records logged since the last enable
};

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
