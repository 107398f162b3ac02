#include "sensors/Driver.h"
#include "sensors/orientation/QuaternionRecord.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/** RotationVector without the magnetic field: its heading has no fixed zero. */
class GameRotationVector : public SensorBase {
  public:
    GameRotationVector(const SensorInfo& info, ISensorsEventCallback* callback)
        : SensorBase("game_rotation_vector_sensor", "GameRotationVector",
                     "Tavrine Game Rotation Vector", info, callback, kPlainIsNonWakeUp) {
        describe(SensorType::GAME_ROTATION_VECTOR, kContinuous,
                 {ANDROID_LOG_ERROR, "GRV Sensor : Meta event"});
    }

    void readEvents() override { readAndPost<QuaternionRecord>(&QuaternionRecord::convertTo); }
};

template struct Driver<GameRotationVector>;

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
