#include "sensors/physical/UncalGyroSensor.h"

#include "sensors/Drivers.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

UncalGyroSensor::UncalGyroSensor(const SensorInfo& info, ISensorsEventCallback* callback)
    : UncalGyroSensor("uncal_gyro_sensor", "UncalGyroSensor", "Gyroscope Uncalibrated", info,
                      callback) {}

UncalGyroSensor::UncalGyroSensor(const char* iioName, const char* tag, const char* displayName,
                                 const SensorInfo& info, ISensorsEventCallback* callback)
    : ScaledSensor(iioName, tag, displayName, info, callback) {
    describe(SensorType::GYROSCOPE_UNCALIBRATED, kContinuous,
             {ANDROID_LOG_ERROR, "UncalGyroSensor : Meta event"});
}

std::unique_ptr<SensorBase> makeUncalGyroSensor(const SensorInfo& info,
                                                ISensorsEventCallback* callback) {
    return std::make_unique<UncalGyroSensor>(info, callback);
}

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
