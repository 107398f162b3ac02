#include "sensors/foldable/HingeAngle.h"

#include <log/log.h>

#include <cinttypes>

#include "sensors/foldable/FoldingRecords.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

HingeAngle::HingeAngle(const SensorInfo& info, ISensorsEventCallback* callback)
    : SensorBase("hinge_angle", "HingeAngle", "Hinge Angle", info, callback, true) {
    setType(36);
    addFlags(kOnChange);
}

void HingeAngle::readEvents() {
    readFrame<AngleRecord>(
        NoTimestamp(), [] { ALOGE("HingeAngle : Meta event"); },
        [this](const AngleRecord& record) {
            mPendingEvent.u.scalar = static_cast<float>(record.angle);
            ALOGI("HingeAngle: event = %d, time = %" PRId64, record.angle,
                  static_cast<int64_t>(record.timestamp));
        });
}

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
