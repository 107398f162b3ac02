#pragma once

#include "sensors/physical/ScaledSensor.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/** Rotation in rad/s with its drift, uncorrected. The second display's twin brings its names. */
class UncalGyroSensor : public ScaledSensor<UncalibratedRecord<int16_t>> {
  public:
    UncalGyroSensor(const SensorInfo& info, ISensorsEventCallback* callback,
                    const char* iioName = "uncal_gyro_sensor", const char* tag = "UncalGyroSensor",
                    const char* displayName = "Gyroscope Uncalibrated")
        : ScaledSensor(iioName, tag, displayName, info, callback) {
        describe(SensorType::GYROSCOPE_UNCALIBRATED, kContinuous,
                 {ANDROID_LOG_ERROR, "UncalGyroSensor : Meta event"});
    }
};

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
