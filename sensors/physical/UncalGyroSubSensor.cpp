#include "sensors/Driver.h"
#include "sensors/physical/UncalGyroSensor.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/** UncalGyroSensor of the second display's half; logs its parent's flush line. */
class UncalGyroSubSensor : public UncalGyroSensor {
  public:
    UncalGyroSubSensor(const SensorInfo& info, ISensorsEventCallback* callback)
        : UncalGyroSensor(info, callback, "uncal_gyro_sub_sensor", "UncalGyroSubSensor",
                          "Gyroscope Uncalibrated Sub") {
        describePrivate(154, "com.tavrine.sensor.gyroscope_uncalibrated_sub", kPermission,
                        kContinuous, {ANDROID_LOG_ERROR, "UncalGyroSensor : Meta event"});
    }
};

template struct Driver<UncalGyroSubSensor>;

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
