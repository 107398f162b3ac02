#include "sensors/physical/UncalGyroSubSensor.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

UncalGyroSubSensor::UncalGyroSubSensor(const SensorInfo& info, ISensorsEventCallback* callback)
    : UncalGyroSensor("uncal_gyro_sub_sensor", "UncalGyroSubSensor", "Gyroscope Uncalibrated Sub",
                      info, callback) {
    setType(kPrivateType + 154);
    setStringType("com.tavrine.sensor.gyroscope_uncalibrated_sub");
    requirePermission();
}

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
