#pragma once

#include "sensors/physical/ScaledSensor.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/** Acceleration in m/s², gravity included. The second display's twin brings its own names. */
class AccSensor : public ScaledSensor<VectorRecord> {
  public:
    AccSensor(const SensorInfo& info, ISensorsEventCallback* callback,
              const char* iioName = "accelerometer_sensor", const char* tag = "AccSensor",
              const char* displayName = "Accelerometer")
        : ScaledSensor(iioName, tag, displayName, info, callback) {
        describe(SensorType::ACCELEROMETER, kContinuous,
                 {ANDROID_LOG_ERROR, "AccSensor : Meta event"});
        presetAccuracyHigh();
    }
};

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
