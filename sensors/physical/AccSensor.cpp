#include "sensors/physical/AccSensor.h"

#include "sensors/Driver.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

AccSensor::AccSensor(const SensorInfo& info, ISensorsEventCallback* callback)
    : AccSensor("accelerometer_sensor", "AccSensor", "Accelerometer", info, callback) {}

AccSensor::AccSensor(const char* iioName, const char* tag, const char* displayName,
                     const SensorInfo& info, ISensorsEventCallback* callback)
    : ScaledSensor(iioName, tag, displayName, info, callback) {
    describe(SensorType::ACCELEROMETER, kContinuous, {ANDROID_LOG_ERROR, "AccSensor : Meta event"});
    presetAccuracyHigh();
}

template struct Driver<AccSensor>;

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
