#include "sensors/Driver.h"
#include "sensors/foldable/FoldingRecords.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

// The platform's hinge angle came after the 1.0 enumeration.
constexpr auto kHingeAngle = static_cast<SensorType>(36);

/** Angle of the hinge in degrees, under the platform's own type. */
class HingeAngle : public SensorBase {
  public:
    HingeAngle(const SensorInfo& info, ISensorsEventCallback* callback)
        : SensorBase("hinge_angle", "HingeAngle", "Hinge Angle", info, callback, kPlainIsWakeUp) {
        describe(kHingeAngle, kOnChange, {ANDROID_LOG_ERROR, "HingeAngle : Meta event"});
    }

    void readEvents() override {
        readAndPost<AngleRecord>([](const AngleRecord& record, EventPayload& payload) {
            payload.scalar = static_cast<float>(record.angle);
            ALOGI("HingeAngle: event = %d, time = %" PRId64, record.angle, record.timestamp);
        });
    }
};

template struct Driver<HingeAngle>;

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
