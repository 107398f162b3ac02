#include "sensors/orientation/GameRotationVector.h"

#include <log/log.h>

#include "sensors/orientation/QuaternionRecord.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

GameRotationVector::GameRotationVector(const SensorInfo& info, ISensorsEventCallback* callback)
    : SensorBase("game_rotation_vector_sensor", "GameRotationVector",
                 "Tavrine Game Rotation Vector", info, callback, false) {
    setType(15);
}

void GameRotationVector::readEvents() {
    readFrame<QuaternionRecord>(
        IsZeroQuaternion(), [] { ALOGE("GRV Sensor : Meta event"); },
        [this](const auto& record) { convertQuaternion(record, &mPendingEvent); });
}

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
