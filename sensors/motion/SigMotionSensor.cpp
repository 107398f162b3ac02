#include "sensors/Driver.h"
#include "sensors/motion/EventCodeRecord.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/**
 * Significant motion, once per activation. The event carries the time of its reading, not the
 * record's.
 */
class SigMotionSensor : public SensorBase {
    struct Record : EventCodeRecord {
        /** Every record is an event, even without a timestamp. */
        static bool isFlushMarker() { return false; }
    };

  public:
    SigMotionSensor(const SensorInfo& info, ISensorsEventCallback* callback)
        : SensorBase("sig_motion_sensor", "SigMotionSensor", "Significant Motion", info, callback,
                     kPlainIsWakeUp) {
        describe(SensorType::SIGNIFICANT_MOTION, kOneShot, kNoFlushLine);
        // Spelt so on purpose.
        setReadFailure("SIgMotionSensor :input data file descriptor not available");
    }

    void readEvents() override {
        Record record;
        if (!readRecord(&record)) return;
        record.timestamp = getTimestamp();
        postRecord(record, [](const Record& r, EventPayload& payload) {
            payload.scalar = r.event;
            ALOGI("SigMotionSensor: event = %d, time = %" PRId64, r.event, r.timestamp);
        });
    }
};

template struct Driver<SigMotionSensor>;

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
