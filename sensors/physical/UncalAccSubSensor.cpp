#include "sensors/physical/UncalAccSubSensor.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

UncalAccSubSensor::UncalAccSubSensor(const SensorInfo& info, ISensorsEventCallback* callback)
    : UncalAccSensor("uncal_accel_sub_sensor", "UncalAccSubSensor",
                     "Accelerometer Uncalibrated Sub", info, callback) {
    setType(kPrivateType + 152);
    setStringType("com.tavrine.sensor.accelerometer_uncalibrated_sub");
    requirePermission();
}

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
