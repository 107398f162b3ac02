#pragma once

#include "sensors/physical/ScaledSensor.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/** Rate of rotation in rad/s before drift correction, with the drift. The second display's twin
 * brings its own names. */
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
