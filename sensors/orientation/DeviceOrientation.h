#pragma once

#include "sensors/Relaxed.h"
#include "sensors/SensorBase.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/**
 * Which way up the screen is held: 0 to 3 in quarter turns, -1 when the hub cannot tell.
 *
 * The hub describes this sensor under two handles, one for each twin of the device; the wake-up
 * bit in the log lines tells the two objects apart.
 */
class DeviceOrientation : public SensorBase {
  public:
    DeviceOrientation(const SensorInfo& info, ISensorsEventCallback* callback);

    /** Takes the detection mode from payload word 2 of sub-command 0; -EINVAL for the others. */
    int injectSensorData(const Event& event) override;
    void readEvents() override;

  private:
    // Set by a proxy thread, read by the poll thread; lasts until the next injection.
    Relaxed<uint8_t> mMode = 0;
};

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
