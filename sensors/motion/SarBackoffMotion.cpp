#include <cerrno>

#include "sensors/Driver.h"
#include "sensors/InjectedEvent.h"
#include "sensors/motion/EventCodeRecord.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/** Event code of the SAR back-off motion. */
class SarBackoffMotion : public SensorBase {
  public:
    SarBackoffMotion(const SensorInfo& info, ISensorsEventCallback* callback)
        : SensorBase("sar_backoff_motion", "SarBackoffMotion", "SBM", info, callback,
                     kPlainIsWakeUp) {
        describePrivate(107, "com.tavrine.sensor.sar_backoff_motion", kPermission, kOneShot,
                        {ANDROID_LOG_INFO, "SarBackoffMotion: Meta event"});
    }

    void readEvents() override {
        readAndPost<EventCodeRecord>([](const EventCodeRecord& record, EventPayload& payload) {
            ALOGI("SarBackoffMotion: event = %d, time = %" PRId64, record.event, record.timestamp);
            payload.scalar = record.event;
        });
    }

    /** Sub-command 0 sends payload word 2 to the hub; -EINVAL for any other. */
    int injectSensorData(const Event& event) override {
        const uint32_t code = injectedSubCommand(event);
        if (code < kFirstSubCommand) return 0;
        if (code != kSubCommand0) return -EINVAL;
        const int32_t value = injectedArgument(event, 2);
        ALOGI("SarBackoffMotion::injectSensorData: data %d", value);
        return writePacket(value);
    }
};

template struct Driver<SarBackoffMotion>;

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
