#include "sensors/motion/WakeUpMotion.h"

#include <inttypes.h>
#include <log/log.h>

#include "sensors/motion/EventCodeRecord.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

WakeUpMotion::WakeUpMotion(const SensorInfo& info, ISensorsEventCallback* callback)
    : SensorBase("wake_up_motion", "WakeUpMotion", "Wake Up Motion", info, callback, true) {
    setType(kPrivateType + 54);
    setStringType("com.tavrine.sensor.wake_up_motion");
    addFlags(kSpecial | kWakeUp);
}

void WakeUpMotion::readEvents() {
    readFrame<EventCodeRecord>(
        NoTimestamp(), [] { ALOGE("WakeUpMotion: Meta event"); },
        [this](const EventCodeRecord& record) {
            ALOGI("WakeUpMotion: event = %d, time = %" PRId64, record.event,
                  mPendingEvent.timestamp);
            mPendingEvent.u.scalar = record.event;
        });
}

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
