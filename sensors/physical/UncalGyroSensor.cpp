#include "sensors/physical/UncalGyroSensor.h"

#include <log/log.h>

#include "sensors/physical/VectorRecords.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

UncalGyroSensor::UncalGyroSensor(const SensorInfo& info, ISensorsEventCallback* callback)
    : UncalGyroSensor("uncal_gyro_sensor", "UncalGyroSensor", "Gyroscope Uncalibrated", info,
                      callback) {}

UncalGyroSensor::UncalGyroSensor(const char* iioName, const char* tag, const char* displayName,
                                 const SensorInfo& info, ISensorsEventCallback* callback)
    : SensorBase(iioName, tag, displayName, info, callback, false), mScale(info.resolution) {
    setType(16);
}

void UncalGyroSensor::readEvents() {
    readFrame<UncalibratedRecord<int16_t>>(
        IsZeroUncalibrated(), [] { ALOGE("UncalGyroSensor : Meta event"); },
        [this](const auto& record) { convertUncalibrated(record, mScale, &mPendingEvent); });
}

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
