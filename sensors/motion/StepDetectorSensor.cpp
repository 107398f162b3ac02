#include "sensors/Driver.h"
#include "sensors/motion/EventCodeRecord.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/** One step taken. */
class StepDetectorSensor : public SensorBase {
    struct Record : EventCodeRecord {
        /** A step may carry no timestamp. */
        bool isFlushMarker() const { return timestamp == 0 && event == 0; }
    };

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
