#include "sensors/Driver.h"
#include "sensors/motion/EventCodeRecord.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/** Event code of the hub's "Pro Tos" motion detector. */
class ProTosMotion : public SensorBase {
  public:
    ProTosMotion(const SensorInfo& info, ISensorsEventCallback* callback)
        : SensorBase("protos_motion", "ProTosMotion", "Pro Tos Motion", info, callback,
                     kPlainIsWakeUp) {
        describePrivate(77, "com.tavrine.sensor.protos_motion", kPermission, kSpecial,
                        {ANDROID_LOG_ERROR, "ProTosMotion: Meta event"});
    }

    void readEvents() override {
        readAndPost<EventCodeRecord>([](const EventCodeRecord& record, EventPayload& payload) {
            ALOGI("ProTosMotion: event = %d, time = %" PRId64, record.event, record.timestamp);
            payload.scalar = record.event;
        });
    }
};

template struct Driver<ProTosMotion>;

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
