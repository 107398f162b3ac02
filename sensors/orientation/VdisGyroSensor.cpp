#include "sensors/Driver.h"
#include "sensors/physical/ScaledSensor.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/** The gyroscope stream of digital video stabilisation, in rad/s; for direct channels, too. */
class VdisGyroSensor : public ScaledSensor<PaddedVectorRecord> {
  public:
    VdisGyroSensor(const SensorInfo& info, ISensorsEventCallback* callback)
        : ScaledSensor("vdis_gyro_sensor", "VdisGyroSensor", "VDIS Gyroscope", info, callback) {
        describePrivate(71, "com.tavrine.sensor.vdis_gyro", kPermission, kSpecial,
                        {ANDROID_LOG_ERROR, "VdisGyroSensor : Meta event"});
        presetAccuracyHigh();
    }
};

template struct Driver<VdisGyroSensor>;

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
