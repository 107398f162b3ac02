#include "sensors/Driver.h"
#include "sensors/physical/GyroSensor.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/** GyroSensor of the second display's half; logs its parent's flush line. */
class GyroSubSensor : public GyroSensor {
  public:
    GyroSubSensor(const SensorInfo& info, ISensorsEventCallback* callback)
        : GyroSensor(info, callback, "gyro_sub_sensor", "GyroSubSensor", "Gyroscope-Sub") {
        describePrivate(153, "com.tavrine.sensor.gyroscope_sub", kPermission, kContinuous,
                        {ANDROID_LOG_ERROR, "GyroSensor : Meta event"});
    }
};

template struct Driver<GyroSubSensor>;

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
