#pragma once

#include <cstdint>

#include "sensors/LightBase.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/**
 * Ambient light in lux. Injection carries the display's brightness to the hub and keeps it, with
 * the dark and bright thresholds, in LightBase::pmsInfo. Construction switches the camera light
 * path off.
 */
class LightSensor : public LightBase {
  public:
    LightSensor(const SensorInfo& info, ISensorsEventCallback* callback);

    int enable(int handle, bool on) override;
    /** Brightness alone, or brightness with thresholds and lux; -EINVAL for other sub-commands. */
    int injectSensorData(const Event& event) override;
    void readEvents() override;

  private:
    int injectBrightness(const Event& event);
    int injectThresholds(const Event& event);

    Relaxed<int32_t> logCount = 0;  // records logged since the last enable
};

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
