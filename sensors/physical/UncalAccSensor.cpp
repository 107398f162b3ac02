#include "sensors/physical/UncalAccSensor.h"

#include <log/log.h>

#include "sensors/physical/VectorRecords.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

UncalAccSensor::UncalAccSensor(const SensorInfo& info, ISensorsEventCallback* callback)
    : UncalAccSensor("uncal_accel_sensor", "UncalAccSensor", "Accelerometer Uncalibrated", info,
                     callback) {}

UncalAccSensor::UncalAccSensor(const char* iioName, const char* tag, const char* displayName,
                               const SensorInfo& info, ISensorsEventCallback* callback)
    : SensorBase(iioName, tag, displayName, info, callback, false), mScale(info.resolution) {
    setType(35);
    mPendingEvent.u.vec3.status = kAccuracyHigh;
}

void UncalAccSensor::readEvents() {
    readFrame<UncalibratedRecord<int16_t>>(
        IsZeroUncalibrated(), [] { ALOGE("UncalAccSensor : Meta event"); },
        [this](const auto& record) { convertUncalibrated(record, mScale, &mPendingEvent); });
}

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
