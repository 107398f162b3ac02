#include "sensors/Drivers.h"
#include "sensors/orientation/QuaternionRecord.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

namespace {

/** RotationVector without the magnetic field: its heading has no fixed zero. */
class GameRotationVector : public SensorBase {
  public:
    GameRotationVector(const SensorInfo& info, ISensorsEventCallback* callback)
        : SensorBase("game_rotation_vector_sensor", "GameRotationVector",
                     "Tavrine Game Rotation Vector", info, callback, kPlainIsNonWakeUp) {
        describe(SensorType::GAME_ROTATION_VECTOR, kContinuous,
                 {ANDROID_LOG_ERROR, "GRV Sensor : Meta event"});
    }

    void readEvents() override {
        readAndPost<QuaternionRecord>([](const QuaternionRecord& record, EventPayload& payload) {
            record.convertTo(payload);
        });
    }
};

}  // namespace

std::unique_ptr<SensorBase> makeGameRotationVector(const SensorInfo& info,
                                                   ISensorsEventCallback* callback) {
    return std::make_unique<GameRotationVector>(info, callback);
}

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
