#include "sensors/motion/LedCoverEventSensor.h"

#include <inttypes.h>
#include <log/log.h>

#include "sensors/motion/EventCodeRecord.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

LedCoverEventSensor::LedCoverEventSensor(const SensorInfo& info, ISensorsEventCallback* callback)
    : SensorBase("led_cover_event_sensor", "LedCoverEventSensor", "Led Cover Event Sensor", info,
                 callback, true) {
    setType(kPrivateType + 70);
    setStringType("com.tavrine.sensor.led_cover_event");
    requirePermission();
    addFlags(kOnChange);
}

void LedCoverEventSensor::readEvents() {
    readFrame<EventCodeRecord>(
        NoTimestamp(), [] { ALOGE("LedCoverEventSensor : Meta event"); },
        [this](const EventCodeRecord& record) {
            ALOGI("LedCoverEventSensor : event = %d, time = %" PRId64, record.event,
                  mPendingEvent.timestamp);
            mPendingEvent.u.scalar = record.event;
        });
}

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
