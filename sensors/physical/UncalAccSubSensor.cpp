#include "sensors/Driver.h"
#include "sensors/physical/UncalAccSensor.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/** UncalAccSensor of the second display's half; logs its parent's flush line. */
class UncalAccSubSensor : public UncalAccSensor {
  public:
    UncalAccSubSensor(const SensorInfo& info, ISensorsEventCallback* callback)
        : UncalAccSensor(info, callback, "uncal_accel_sub_sensor", "UncalAccSubSensor",
                         "Accelerometer Uncalibrated Sub") {
        describePrivate(152, "com.tavrine.sensor.accelerometer_uncalibrated_sub", kPermission,
                        kContinuous, {ANDROID_LOG_ERROR, "UncalAccSensor : Meta event"});
    }
};

template struct Driver<UncalAccSubSensor>;

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
