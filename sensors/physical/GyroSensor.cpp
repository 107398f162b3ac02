#include "sensors/physical/GyroSensor.h"

#include <log/log.h>

#include "sensors/physical/VectorRecords.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

GyroSensor::GyroSensor(const SensorInfo& info, ISensorsEventCallback* callback)
    : GyroSensor("gyro_sensor", "GyroSensor", "Gyroscope", info, callback) {}

GyroSensor::GyroSensor(const char* iioName, const char* tag, const char* displayName,
                       const SensorInfo& info, ISensorsEventCallback* callback)
    : SensorBase(iioName, tag, displayName, info, callback, false), mScale(info.resolution) {
    setType(4);
    mPendingEvent.u.vec3.status = kAccuracyHigh;
}

void GyroSensor::readEvents() {
    readFrame<PaddedVectorRecord>(
        IsZeroVector(), [] { ALOGE("GyroSensor : Meta event"); },
        [this](const auto& record) { convertVector(record, mScale, &mPendingEvent); });
}

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
