#include "sensors/Driver.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/** One step taken. */
class StepDetectorSensor : public SensorBase {
    struct __attribute__((packed)) Record {
        uint8_t event;
        int64_t timestamp;  // ns

        /** A step may carry no timestamp. */
        bool isFlushMarker() const { return timestamp == 0 && event == 0; }
    };
    static_assert(sizeof(Record) == 9);

  public:
    StepDetectorSensor(const SensorInfo& info, ISensorsEventCallback* callback)
        : SensorBase("step_det_sensor", "StepDetectorSensor", "Step Detector", info, callback,
                     kPlainIsNonWakeUp) {
        describe(SensorType::STEP_DETECTOR, kSpecial,
                 {ANDROID_LOG_ERROR, "StepDetectorSensor: Meta event"});
        setReadFailure("Step detector :input data file descriptor not available");
    }

    void readEvents() override {
        readAndPost<Record>(
            [](const Record& record, EventPayload& payload) { payload.scalar = record.event; });
    }
};

template struct Driver<StepDetectorSensor>;

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
