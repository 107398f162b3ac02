#pragma once

#include "sensors/SensorBase.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/**
 * The hub's verdict on the ambient light for seamless refresh rate switching. What it judges by
 * comes from a display property, sent to the hub at every enable.
 */
class LightSeamless_Sensor : public SensorBase {
  public:
    LightSeamless_Sensor(const SensorInfo& info, ISensorsEventCallback* callback);

    int enable(int handle, bool on) override;
    void readEvents() override;

    /** Sends the display property's text to the hub, unless it is empty or `on` is 0. */
    void setConfig(int on);
};

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
