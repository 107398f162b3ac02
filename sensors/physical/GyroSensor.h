#pragma once

#include "sensors/physical/ScaledSensor.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/** Rate of rotation in rad/s. The second display's twin brings its own names. */
class GyroSensor : public ScaledSensor<PaddedVectorRecord> {
  public:
    GyroSensor(const SensorInfo& info, ISensorsEventCallback* callback,
               const char* iioName = "gyro_sensor", const char* tag = "GyroSensor",
               const char* displayName = "Gyroscope")
        : ScaledSensor(iioName, tag, displayName, info, callback) {
        describe(SensorType::GYROSCOPE, kContinuous,
                 {ANDROID_LOG_ERROR, "GyroSensor : Meta event"});
        presetAccuracyHigh();
    }
};

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
