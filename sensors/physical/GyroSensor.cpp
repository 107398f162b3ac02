#include "sensors/physical/GyroSensor.h"

#include "sensors/Drivers.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

GyroSensor::GyroSensor(const SensorInfo& info, ISensorsEventCallback* callback)
    : GyroSensor("gyro_sensor", "GyroSensor", "Gyroscope", info, callback) {}

GyroSensor::GyroSensor(const char* iioName, const char* tag, const char* displayName,
                       const SensorInfo& info, ISensorsEventCallback* callback)
    : ScaledSensor(iioName, tag, displayName, info, callback) {
    describe(SensorType::GYROSCOPE, kContinuous, {ANDROID_LOG_ERROR, "GyroSensor : Meta event"});
    presetAccuracyHigh();
}

std::unique_ptr<SensorBase> makeGyroSensor(const SensorInfo& info,
                                           ISensorsEventCallback* callback) {
    return std::make_unique<GyroSensor>(info, callback);
}

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
