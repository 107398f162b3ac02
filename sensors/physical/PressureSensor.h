#pragma once

#include "sensors/SensorBase.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/**
 * Air pressure in hPa. The hub sends the chip's raw count and its calibration offset; the vendor
 * decides the scale.
 */
class PressureSensor : public SensorBase {
  public:
    PressureSensor(const SensorInfo& info, ISensorsEventCallback* callback);

    void readEvents() override;

  private:
    // Only the pressure scale enters the events; the others describe the chip.
    [[maybe_unused]] float mSeaLevelPressure = 1013.25f;  // hPa
    float mPressureScale = 1.0f;                          // hPa per count
    [[maybe_unused]] float mTemperatureScale = 1.0f;      // °C per count
    [[maybe_unused]] float mTemperatureOffset = 0.0f;     // °C
};

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
