#include "sensors/Driver.h"
#include "sensors/motion/EventCodeRecord.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/** Event code of the wake-up motion; wakes the system whichever twin it comes from. */
class WakeUpMotion : public SensorBase {
  public:
    WakeUpMotion(const SensorInfo& info, ISensorsEventCallback* callback)
        : SensorBase("wake_up_motion", "WakeUpMotion", "Wake Up Motion", info, callback,
                     kPlainIsWakeUp) {
        describePrivate(54, "com.tavrine.sensor.wake_up_motion", kNoPermission, kSpecial | kWakeUp,
                        {ANDROID_LOG_ERROR, "WakeUpMotion: Meta event"});
    }

    void readEvents() override {
        readAndPost<EventCodeRecord>([](const EventCodeRecord& record, EventPayload& payload) {
            ALOGI("WakeUpMotion: event = %d, time = %" PRId64, record.event, record.timestamp);
            payload.scalar = record.event;
        });
    }
};

template struct Driver<WakeUpMotion>;

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
