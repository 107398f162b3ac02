#include "sensors/Driver.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/** Number of steps, as a 64-bit integer in the payload. */
class StepCounterSensor : public SensorBase {
    struct __attribute__((packed)) Record {
        uint8_t ignored[4];
        uint64_t stepCount;
        int64_t timestamp;  // ns

        bool isFlushMarker() const { return timestamp == 0; }
    };
    static_assert(sizeof(Record) == 20);

  public:
    StepCounterSensor(const SensorInfo& info, ISensorsEventCallback* callback)
        : SensorBase("step_cnt_sensor", "StepCounterSensor", "Step Counter", info, callback,
                     kPlainIsNonWakeUp) {
        describe(SensorType::STEP_COUNTER, kOnChange,
                 {ANDROID_LOG_ERROR, "StepCounterSensor: Meta event"});
        setReadFailure("StepCounterSensor: input data file descriptor not available");
    }

    void readEvents() override {
        Record record;
        if (!readRecord(&record)) return;
        // Ahead of the flush test: every record shows up in the log.
        ALOGI("StepCounterSensor - %" PRIu64, record.stepCount);
        postRecord(record,
                   [](const Record& r, EventPayload& payload) { payload.stepCount = r.stepCount; });
    }
};

template struct Driver<StepCounterSensor>;

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
