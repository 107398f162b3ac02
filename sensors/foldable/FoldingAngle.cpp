#include "sensors/Driver.h"
#include "sensors/foldable/FoldingRecords.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/** Angle between the halves, in the whole degrees that the hub sends. */
class FoldingAngle : public SensorBase {
  public:
    FoldingAngle(const SensorInfo& info, ISensorsEventCallback* callback)
        : SensorBase("folding_angle", "FoldingAngle", "Folding Angle", info, callback,
                     kPlainIsNonWakeUp) {
        // Spelt so on purpose: clients look for it.
        describePrivate(150, "com.tavrine.sensor.foling_angle", kPermission, kOnChange,
                        {ANDROID_LOG_ERROR, "FoldingAngle : Meta event"});
    }

    void readEvents() override {
        readAndPost<AngleRecord>([](const AngleRecord& record, EventPayload& payload) {
            payload.scalar = static_cast<float>(record.angle);
            ALOGI("FoldingAngle: event = %d, time = %" PRId64, record.angle, record.timestamp);
        });
    }
};

template struct Driver<FoldingAngle>;

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
