#include "sensors/Driver.h"
#include "sensors/physical/ScaledSensor.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/** Rate of rotation in rad/s, from the device that the hub calls its interrupt gyroscope. */
class IntGyroSensor : public ScaledSensor<PaddedVectorRecord> {
  public:
    IntGyroSensor(const SensorInfo& info, ISensorsEventCallback* callback)
        : ScaledSensor("interrupt_gyro_sensor", "IntGyroSensor", "Interrupt Gyroscope", info,
                       callback) {
        describePrivate(43, "com.tavrine.sensor.interrupt_gyro", kNoPermission, kOnChange,
                        {ANDROID_LOG_ERROR, "IntGyroSensor : Meta event"});
        presetAccuracyHigh();
    }
};

template struct Driver<IntGyroSensor>;

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
