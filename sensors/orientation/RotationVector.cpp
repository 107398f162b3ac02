#include "sensors/orientation/RotationVector.h"

#include <log/log.h>

#include "sensors/orientation/QuaternionRecord.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

RotationVector::RotationVector(const SensorInfo& info, ISensorsEventCallback* callback)
    : SensorBase("rotation_vector_sensor", "RotationVector", "Tavrine Rotation Vector", info,
                 callback, false) {
    setType(11);
}

void RotationVector::readEvents() {
    readFrame<QuaternionRecord>(
        IsZeroQuaternion(), [] { ALOGE("RotationVectorSensor : Meta event"); },
        [this](const auto& record) { convertQuaternion(record, &mPendingEvent); });
}

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
