#include "sensors/Driver.h"
#include "sensors/physical/ScaledSensor.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/** The gyroscope stream of still-picture stabilisation, in rad/s; for direct channels, too. */
class StillwaveGyroSensor : public ScaledSensor<PaddedVectorRecord> {
  public:
    StillwaveGyroSensor(const SensorInfo& info, ISensorsEventCallback* callback)
        : ScaledSensor("stillwave_gyro_sensor", "StillwaveGyroSensor", "Stillwave Gyroscope", info,
                       callback) {
        describePrivate(110, "com.tavrine.sensor.stillwave_gyro", kPermission, kSpecial,
                        {ANDROID_LOG_ERROR, "StillwaveGyroSensor : Meta event"});
        presetAccuracyHigh();
    }
};

template struct Driver<StillwaveGyroSensor>;

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
