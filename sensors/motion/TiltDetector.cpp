#include "sensors/motion/TiltDetector.h"

#include <inttypes.h>
#include <log/log.h>

#include "sensors/motion/EventCodeRecord.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

TiltDetector::TiltDetector(const SensorInfo& info, ISensorsEventCallback* callback)
    : SensorBase("tilt_detector", "TiltDetector", "Tilt Detector", info, callback, true) {
    setType(22);
    addFlags(kSpecial);
}

void TiltDetector::readEvents() {
    readFrame<EventCodeRecord>(
        NoTimestamp(), [] { ALOGE("TiltDetector: Meta event"); },
        [this](const EventCodeRecord& record) {
            ALOGI("TiltDetector: event = %d, time = %" PRId64, record.event,
                  mPendingEvent.timestamp);
            mPendingEvent.u.scalar = record.event;
        });
}

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
