#include "sensors/Drivers.h"
#include "sensors/physical/UncalGyroSensor.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

namespace {

/** UncalGyroSensor of the second display's half; logs its parent's flush line. */
class UncalGyroSubSensor : public UncalGyroSensor {
  public:
    UncalGyroSubSensor(const SensorInfo& info, ISensorsEventCallback* callback)
        : UncalGyroSensor("uncal_gyro_sub_sensor", "UncalGyroSubSensor",
                          "Gyroscope Uncalibrated Sub", info, callback) {
        describePrivate(154, "com.tavrine.sensor.gyroscope_uncalibrated_sub", kPermission,
                        kContinuous, {ANDROID_LOG_ERROR, "UncalGyroSensor : Meta event"});
    }
};

}  // namespace

std::unique_ptr<SensorBase> makeUncalGyroSubSensor(const SensorInfo& info,
                                                   ISensorsEventCallback* callback) {
    return std::make_unique<UncalGyroSubSensor>(info, callback);
}

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
