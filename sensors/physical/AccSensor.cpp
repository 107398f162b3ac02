#include "sensors/physical/AccSensor.h"

#include <log/log.h>

#include "sensors/physical/VectorRecords.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

AccSensor::AccSensor(const SensorInfo& info, ISensorsEventCallback* callback)
    : AccSensor("accelerometer_sensor", "AccSensor", "Accelerometer", info, callback) {}

AccSensor::AccSensor(const char* iioName, const char* tag, const char* displayName,
                     const SensorInfo& info, ISensorsEventCallback* callback)
    : SensorBase(iioName, tag, displayName, info, callback, false), mScale(info.resolution) {
    setType(1);
    mPendingEvent.u.vec3.status = kAccuracyHigh;
}

void AccSensor::readEvents() {
    readFrame<VectorRecord>(
        IsZeroVector(), [] { ALOGE("AccSensor : Meta event"); },
        [this](const auto& record) { convertVector(record, mScale, &mPendingEvent); });
}

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
