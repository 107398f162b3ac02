#include "sensors/Driver.h"
#include "sensors/physical/ScaledSensor.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/** Rotation in rad/s with its drift, uncorrected. */
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

/** UncalGyroSensor of the second display's half; logs its parent's flush line. */
class UncalGyroSubSensor : public UncalGyroSensor {
  public:
    UncalGyroSubSensor(const SensorInfo& info, ISensorsEventCallback* callback)
        : UncalGyroSensor(info, callback, "uncal_gyro_sub_sensor", "UncalGyroSubSensor",
                          "Gyroscope Uncalibrated Sub") {
        describePrivate(154, "com.tavrine.sensor.gyroscope_uncalibrated_sub", kPermission,
                        kContinuous);
    }
};

template struct Driver<UncalGyroSensor>;
template struct Driver<UncalGyroSubSensor>;

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
