#include "sensors/physical/GyroSubSensor.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

GyroSubSensor::GyroSubSensor(const SensorInfo& info, ISensorsEventCallback* callback)
    : GyroSensor("gyro_sub_sensor", "GyroSubSensor", "Gyroscope-Sub", info, callback) {
    setType(kPrivateType + 153);
    setStringType("com.tavrine.sensor.gyroscope_sub");
    requirePermission();
}

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
