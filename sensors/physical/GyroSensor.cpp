#include "sensors/Driver.h"
#include "sensors/physical/ScaledSensor.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/** Rate of rotation in rad/s. */
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

/** GyroSensor of the second display's half; logs its parent's flush line. */
class GyroSubSensor : public GyroSensor {
  public:
    GyroSubSensor(const SensorInfo& info, ISensorsEventCallback* callback)
        : GyroSensor(info, callback, "gyro_sub_sensor", "GyroSubSensor", "Gyroscope-Sub") {
        describePrivate(153, "com.tavrine.sensor.gyroscope_sub", kPermission, kContinuous);
    }
};

template struct Driver<GyroSensor>;
template struct Driver<GyroSubSensor>;

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
