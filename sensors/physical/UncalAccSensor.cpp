#include "sensors/physical/UncalAccSensor.h"

#include "sensors/Driver.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

UncalAccSensor::UncalAccSensor(const SensorInfo& info, ISensorsEventCallback* callback)
    : UncalAccSensor("uncal_accel_sensor", "UncalAccSensor", "Accelerometer Uncalibrated", info,
                     callback) {}

UncalAccSensor::UncalAccSensor(const char* iioName, const char* tag, const char* displayName,
                               const SensorInfo& info, ISensorsEventCallback* callback)
    : ScaledSensor(iioName, tag, displayName, info, callback) {
    describe(SensorType::ACCELEROMETER_UNCALIBRATED, kContinuous,
             {ANDROID_LOG_ERROR, "UncalAccSensor : Meta event"});
    presetAccuracyHigh();
}

template struct Driver<UncalAccSensor>;

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
