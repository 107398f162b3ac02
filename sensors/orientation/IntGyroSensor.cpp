#include "sensors/orientation/IntGyroSensor.h"

#include <log/log.h>

#include "sensors/physical/VectorRecords.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

IntGyroSensor::IntGyroSensor(const SensorInfo& info, ISensorsEventCallback* callback)
    : SensorBase("interrupt_gyro_sensor", "IntGyroSensor", "Interrupt Gyroscope", info, callback,
                 false),
      mScale(info.resolution) {
    setType(kPrivateType + 43);
    setStringType("com.tavrine.sensor.interrupt_gyro");
    addFlags(kOnChange);
    mPendingEvent.u.vec3.status = kAccuracyHigh;
}

void IntGyroSensor::readEvents() {
    readFrame<PaddedVectorRecord>(
        IsZeroVector(), [] { ALOGE("IntGyroSensor : Meta event"); },
        [this](const auto& record) { convertVector(record, mScale, &mPendingEvent); });
}

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
