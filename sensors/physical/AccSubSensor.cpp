#include "sensors/physical/AccSubSensor.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

AccSubSensor::AccSubSensor(const SensorInfo& info, ISensorsEventCallback* callback)
    : AccSensor("accelerometer_sub_sensor", "AccSubSensor", "Accelerometer-Sub", info, callback) {
    setType(kPrivateType + 151);
    setStringType("com.tavrine.sensor.accelerometer_sub");
    requirePermission();
}

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
