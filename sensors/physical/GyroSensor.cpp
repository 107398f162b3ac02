#include "sensors/physical/GyroSensor.h"

#include "sensors/Driver.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

GyroSensor::GyroSensor(const SensorInfo& info, ISensorsEventCallback* callback)
    : GyroSensor("gyro_sensor", "GyroSensor", "Gyroscope", info, callback) {}

GyroSensor::GyroSensor(const char* iioName, const char* tag, const char* displayName,
                       const SensorInfo& info, ISensorsEventCallback* callback)
    : ScaledSensor(iioName, tag, displayName, info, callback) {
    describe(SensorType::GYROSCOPE, kContinuous, {ANDROID_LOG_ERROR, "GyroSensor : Meta event"});
    presetAccuracyHigh();
}

template struct Driver<GyroSensor>;

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
