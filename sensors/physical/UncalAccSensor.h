#pragma once

#include "sensors/physical/ScaledSensor.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/** Acceleration in m/s² with its bias, uncorrected. The second display's twin brings its names. */
class UncalAccSensor : public ScaledSensor<UncalibratedRecord<int16_t>> {
  public:
    UncalAccSensor(const SensorInfo& info, ISensorsEventCallback* callback,
                   const char* iioName = "uncal_accel_sensor", const char* tag = "UncalAccSensor",
                   const char* displayName = "Accelerometer Uncalibrated")
        : ScaledSensor(iioName, tag, displayName, info, callback) {
        describe(SensorType::ACCELEROMETER_UNCALIBRATED, kContinuous,
                 {ANDROID_LOG_ERROR, "UncalAccSensor : Meta event"});
        presetAccuracyHigh();
    }
};

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
