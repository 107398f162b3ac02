#include "sensors/Driver.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/** A fused attitude: what both send. */
struct __attribute__((packed)) QuaternionRecord {
    int32_t x;  // components in 1/1000000
    int32_t y;
    int32_t z;
    int32_t w;
    int8_t accuracy;    // in tenths
    int64_t timestamp;  // ns

    bool isFlushMarker() const {
        return timestamp == 0 && x == 0 && y == 0 && z == 0 && w == 0 && accuracy == 0;
    }

    /** Fills payload words 0 to 4. */
    void convertTo(EventPayload& payload) const {
        payload.data[0] = static_cast<float>(x) / 1000000.0f;
        payload.data[1] = static_cast<float>(y) / 1000000.0f;
        payload.data[2] = static_cast<float>(z) / 1000000.0f;
        payload.data[3] = static_cast<float>(w) / 1000000.0f;
        payload.data[4] = static_cast<float>(accuracy / 10.0);
    }
};
static_assert(sizeof(QuaternionRecord) == 25);

/**
 * The device's attitude as a unit quaternion x, y, z, w, with the estimated heading accuracy in
 * payload word 4.
 */
class RotationVector : public SensorBase {
  public:
    RotationVector(const SensorInfo& info, ISensorsEventCallback* callback)
        : SensorBase("rotation_vector_sensor", "RotationVector", "Tavrine Rotation Vector", info,
                     callback, kPlainIsNonWakeUp) {
        describe(SensorType::ROTATION_VECTOR, kContinuous,
                 {ANDROID_LOG_ERROR, "RotationVectorSensor : Meta event"});
    }

    void readEvents() override { readAndPost<QuaternionRecord>(&QuaternionRecord::convertTo); }
};

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

template struct Driver<RotationVector>;
template struct Driver<GameRotationVector>;

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
