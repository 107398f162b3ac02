#include "sensors/foldable/FoldingAngle.h"

#include <log/log.h>

#include <cinttypes>

#include "sensors/foldable/FoldingRecords.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

FoldingAngle::FoldingAngle(const SensorInfo& info, ISensorsEventCallback* callback)
    : SensorBase("folding_angle", "FoldingAngle", "Folding Angle", info, callback, false) {
    setType(kPrivateType + 150);
    // Clients look for this spelling.
    setStringType("com.tavrine.sensor.foling_angle");
    requirePermission();
    addFlags(kOnChange);
}

void FoldingAngle::readEvents() {
    readFrame<AngleRecord>(
        NoTimestamp(), [] { ALOGE("FoldingAngle : Meta event"); },
        [this](const AngleRecord& record) {
            mPendingEvent.u.scalar = static_cast<float>(record.angle);
            ALOGI("FoldingAngle: event = %d, time = %" PRId64, record.angle,
                  static_cast<int64_t>(record.timestamp));
        });
}

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
