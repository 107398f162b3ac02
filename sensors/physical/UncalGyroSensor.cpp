#include "sensors/physical/UncalGyroSensor.h"

#include "sensors/Driver.h"

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

template struct Driver<UncalGyroSensor>;

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
