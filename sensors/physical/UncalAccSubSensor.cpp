#include "sensors/Drivers.h"
#include "sensors/physical/UncalAccSensor.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

namespace {

/** UncalAccSensor of the second display's half; logs its parent's flush line. */
class UncalAccSubSensor : public UncalAccSensor {
  public:
    UncalAccSubSensor(const SensorInfo& info, ISensorsEventCallback* callback)
        : UncalAccSensor("uncal_accel_sub_sensor", "UncalAccSubSensor",
                         "Accelerometer Uncalibrated Sub", info, callback) {
        describePrivate(152, "com.tavrine.sensor.accelerometer_uncalibrated_sub", kPermission,
                        kContinuous, {ANDROID_LOG_ERROR, "UncalAccSensor : Meta event"});
    }
};

}  // namespace

std::unique_ptr<SensorBase> makeUncalAccSubSensor(const SensorInfo& info,
                                                  ISensorsEventCallback* callback) {
    return std::make_unique<UncalAccSubSensor>(info, callback);
}

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
