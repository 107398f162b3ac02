#include "sensors/Driver.h"
#include "sensors/physical/ScaledSensor.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/** Acceleration in m/s² with its bias, uncorrected. */
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

/** UncalAccSensor of the second display's half; logs its parent's flush line. */
class UncalAccSubSensor : public UncalAccSensor {
  public:
    UncalAccSubSensor(const SensorInfo& info, ISensorsEventCallback* callback)
        : UncalAccSensor(info, callback, "uncal_accel_sub_sensor", "UncalAccSubSensor",
                         "Accelerometer Uncalibrated Sub") {
        describePrivate(152, "com.tavrine.sensor.accelerometer_uncalibrated_sub", kPermission,
                        kContinuous);
    }
};

template struct Driver<UncalAccSensor>;
template struct Driver<UncalAccSubSensor>;

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
