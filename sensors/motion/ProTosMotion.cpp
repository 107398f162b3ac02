#include "sensors/motion/ProTosMotion.h"

#include <inttypes.h>
#include <log/log.h>

#include "sensors/motion/EventCodeRecord.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

ProTosMotion::ProTosMotion(const SensorInfo& info, ISensorsEventCallback* callback)
    : SensorBase("protos_motion", "ProTosMotion", "Pro Tos Motion", info, callback, true) {
    setType(kPrivateType + 77);
    setStringType("com.tavrine.sensor.protos_motion");
    requirePermission();
    addFlags(kSpecial);
}

void ProTosMotion::readEvents() {
    readFrame<EventCodeRecord>(
        NoTimestamp(), [] { ALOGE("ProTosMotion: Meta event"); },
        [this](const EventCodeRecord& record) {
            ALOGI("ProTosMotion: event = %d, time = %" PRId64, record.event,
                  mPendingEvent.timestamp);
            mPendingEvent.u.scalar = record.event;
        });
}

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
