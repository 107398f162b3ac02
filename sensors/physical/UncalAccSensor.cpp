#include "sensors/physical/UncalAccSensor.h"

#include "sensors/Driver.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

template struct Driver<UncalAccSensor>;

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
