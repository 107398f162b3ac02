#include "sensors/orientation/VdisGyroSensor.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

VdisGyroSensor::VdisGyroSensor(const SensorInfo& info, ISensorsEventCallback* callback)
    : DirectGyroSensor("vdis_gyro_sensor", "VdisGyroSensor", "VDIS Gyroscope", info, callback) {
    setType(kPrivateType + 71);
    setStringType("com.tavrine.sensor.vdis_gyro");
}

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
