#include "sensors/Driver.h"
#include "sensors/motion/EventCodeRecord.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/** The device was tilted. */
class TiltDetector : public SensorBase {
  public:
    TiltDetector(const SensorInfo& info, ISensorsEventCallback* callback)
        : SensorBase("tilt_detector", "TiltDetector", "Tilt Detector", info, callback,
                     kPlainIsWakeUp) {
        describe(SensorType::TILT_DETECTOR, kSpecial,
                 {ANDROID_LOG_ERROR, "TiltDetector: Meta event"});
    }

    void readEvents() override {
        readAndPost<EventCodeRecord>([](const EventCodeRecord& record, EventPayload& payload) {
            ALOGI("TiltDetector: event = %d, time = %" PRId64, record.event, record.timestamp);
            payload.scalar = record.event;
        });
    }
};

template struct Driver<TiltDetector>;

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
