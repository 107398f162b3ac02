#include "sensors/physical/UncalGyroSensor.h"

#include "sensors/Driver.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

template struct Driver<UncalGyroSensor>;

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
