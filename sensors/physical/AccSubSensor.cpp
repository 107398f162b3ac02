#include "sensors/Driver.h"
#include "sensors/physical/AccSensor.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/** AccSensor of the second display's half; logs its parent's flush line. */
class AccSubSensor : public AccSensor {
  public:
    AccSubSensor(const SensorInfo& info, ISensorsEventCallback* callback)
        : AccSensor(info, callback, "accelerometer_sub_sensor", "AccSubSensor",
                    "Accelerometer-Sub") {
        describePrivate(151, "com.tavrine.sensor.accelerometer_sub", kPermission, kContinuous,
                        {ANDROID_LOG_ERROR, "AccSensor : Meta event"});
    }
};

template struct Driver<AccSubSensor>;

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
