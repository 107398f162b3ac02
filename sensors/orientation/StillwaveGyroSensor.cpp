#include "sensors/orientation/StillwaveGyroSensor.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

StillwaveGyroSensor::StillwaveGyroSensor(const SensorInfo& info, ISensorsEventCallback* callback)
    : DirectGyroSensor("stillwave_gyro_sensor", "StillwaveGyroSensor", "Stillwave Gyroscope", info,
                       callback) {
    setType(kPrivateType + 110);
    setStringType("com.tavrine.sensor.stillwave_gyro");
}

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
