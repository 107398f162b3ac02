#include "sensors/motion/CallGesture.h"

#include <inttypes.h>
#include <log/log.h>

#include "sensors/motion/EventCodeRecord.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

CallGesture::CallGesture(const SensorInfo& info, ISensorsEventCallback* callback)
    : SensorBase("call_gesture", "CallGesture", "Call Gesture", info, callback, true) {
    setType(kPrivateType + 58);
    setStringType("com.tavrine.sensor.call_gesture");
    requirePermission();
    addFlags(kOnChange);
}

void CallGesture::readEvents() {
    readFrame<EventCodeRecord>(
        NoTimestamp(), [] { ALOGE("CallGesture : Meta event"); },
        [this](const EventCodeRecord& record) {
            ALOGI("CallGesture : event = %d, time = %" PRId64, record.event,
                  mPendingEvent.timestamp);
            mPendingEvent.u.scalar = record.event;
        });
}

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
