#include "sensors/motion/PickupGesture.h"

#include <inttypes.h>
#include <log/log.h>

#include "sensors/motion/EventCodeRecord.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

PickupGesture::PickupGesture(const SensorInfo& info, ISensorsEventCallback* callback)
    : SensorBase("pickup_gesture", "PickupGesture", "Pick Up Gesture", info, callback, true) {
    setType(25);
    addFlags(kOneShot);
}

void PickupGesture::readEvents() {
    EventCodeRecord record;
    if (readRecord(&record) < 0) return;
    setTimestamp(record.timestamp);
    mPendingEvent.u.scalar = record.event;
    ALOGI("PickupGesture: event = %d, time = %" PRId64, record.event, mPendingEvent.timestamp);
    postPendingEvent();
}

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
