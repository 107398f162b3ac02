#include "sensors/Driver.h"
#include "sensors/orientation/QuaternionRecord.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

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

template struct Driver<RotationVector>;

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
