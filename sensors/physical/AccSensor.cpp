#include "sensors/Driver.h"
#include "sensors/physical/ScaledSensor.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/** Acceleration in m/s², gravity included. */
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

/** AccSensor of the second display's half; logs its parent's flush line. */
class AccSubSensor : public AccSensor {
  public:
    AccSubSensor(const SensorInfo& info, ISensorsEventCallback* callback)
        : AccSensor(info, callback, "accelerometer_sub_sensor", "AccSubSensor",
                    "Accelerometer-Sub") {
        describePrivate(151, "com.tavrine.sensor.accelerometer_sub", kPermission, kContinuous);
    }
};

template struct Driver<AccSensor>;
template struct Driver<AccSubSensor>;

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
