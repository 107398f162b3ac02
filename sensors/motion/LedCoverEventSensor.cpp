#include "sensors/Driver.h"
#include "sensors/motion/EventCodeRecord.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/** Event code of an LED cover case. */
class LedCoverEventSensor : public SensorBase {
  public:
    LedCoverEventSensor(const SensorInfo& info, ISensorsEventCallback* callback)
        : SensorBase("led_cover_event_sensor", "LedCoverEventSensor", "Led Cover Event Sensor",
                     info, callback, kPlainIsWakeUp) {
        describePrivate(70, "com.tavrine.sensor.led_cover_event", kPermission, kOnChange,
                        {ANDROID_LOG_ERROR, "LedCoverEventSensor : Meta event"});
    }

    void readEvents() override {
        readAndPost<EventCodeRecord>([](const EventCodeRecord& record, EventPayload& payload) {
            ALOGI("LedCoverEventSensor : event = %d, time = %" PRId64, record.event,
                  record.timestamp);
            payload.scalar = record.event;
        });
    }
};

template struct Driver<LedCoverEventSensor>;

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
