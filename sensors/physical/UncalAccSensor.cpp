#include "sensors/physical/UncalAccSensor.h"

#include "sensors/Drivers.h"

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

std::unique_ptr<SensorBase> makeUncalAccSensor(const SensorInfo& info,
                                               ISensorsEventCallback* callback) {
    return std::make_unique<UncalAccSensor>(info, callback);
}

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
