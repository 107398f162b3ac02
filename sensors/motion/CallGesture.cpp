#include "sensors/Driver.h"
#include "sensors/motion/EventCodeRecord.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/** Event code of the call gesture. */
class CallGesture : public SensorBase {
  public:
    CallGesture(const SensorInfo& info, ISensorsEventCallback* callback)
        : SensorBase("call_gesture", "CallGesture", "Call Gesture", info, callback,
                     kPlainIsWakeUp) {
        describePrivate(58, "com.tavrine.sensor.call_gesture", kPermission, kOnChange,
                        {ANDROID_LOG_ERROR, "CallGesture : Meta event"});
    }

    void readEvents() override {
        readAndPost<EventCodeRecord>([](const EventCodeRecord& record, EventPayload& payload) {
            ALOGI("CallGesture : event = %d, time = %" PRId64, record.event, record.timestamp);
            payload.scalar = record.event;
        });
    }
};

template struct Driver<CallGesture>;

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
